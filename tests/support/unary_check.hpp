// The differential test of a kernel from one region into another: every
// processor variant, every width of kTestWidths, source and destination at odd
// addresses with odd steps and on whole samples (rows then start at every
// alignment to a vector), compared byte for byte (the bytes around the
// destination region included) with a plain scalar reference.
#pragma once

#include "support/regions.hpp"
#include "support/support.hpp"

namespace lum::test {

// kernel(s, s_step, d, d_step, size) over regions of w samples × 3 rows; ref(s,
// old d, index in the row) gives each destination sample. `range` keeps integer
// source samples below it; `in_place` runs the kernel with d = s.
template <class S, class D, class K, class R>
void expect_unary_matches(const char* what, K kernel, R ref, uint32_t range = 0, bool in_place = false) {
    constexpr int rows = 3;
    for_each_variant([&](int) {
        for (int w : kTestWidths)
        for (bool aligned : {false, true}) {
            Region<S> s(w, rows, 11, range, aligned);
            Region<D> got(w, rows, 12, 0, aligned), want = got;
            if constexpr (sizeof(S) == sizeof(D)) {
                if (in_place) got.bytes = want.bytes = std::vector<uint8_t>(s.bytes);
            }
            const S* from = in_place ? reinterpret_cast<const S*>(got.data()) : s.data();
            const int from_step = in_place ? got.step : s.step;
            ASSERT_EQ(kernel(from, from_step, got.data(), got.step, prim::Size{w, rows}), 0) << what << ", width " << w;
            for (int y = 0; y < rows; ++y)
                for (int i = 0; i < w; ++i) want.set(i, y, ref(s.get(i, y), want.get(i, y), i));
            ASSERT_EQ(got.bytes, want.bytes) << what << ", width " << w;
        }
    });
}

}  // namespace lum::test
