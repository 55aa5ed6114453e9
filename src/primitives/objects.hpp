// Rows as runs for the object measurement: the runs of non-zero samples of
// one row, and the painting of a label row from labelled runs.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Columns start .. end - 1 of one row, with the provisional label it was given.
struct LabelRun {
    int32_t start;
    int32_t end;
    uint32_t label;
};

// The runs of non-zero samples of a row of `width` samples (8u or 16u) that
// starts at `row`, any address: run k covers columns starts[k] .. ends[k] - 1,
// in ascending order. starts and ends have room for (width + 1) / 2 entries;
// count receives the number of runs.
LUM_PRIMITIVE(object_runs_8u, int(const uint8_t* row, int32_t width, int32_t* starts, int32_t* ends, int32_t* count))
LUM_PRIMITIVE(object_runs_16u, int(const uint8_t* row, int32_t width, int32_t* starts, int32_t* ends, int32_t* count))

// Writes a 16-bit label row of `width` samples at `row` (any address): the
// columns of runs[k] receive final[runs[k].label], every other column 0. The
// runs lie inside the row in ascending order.
LUM_PRIMITIVE(paint_label_row_16u,
              int(uint8_t* row, int32_t width, const LabelRun* runs, int32_t count, const uint32_t* final))

}  // namespace lum::prim
