"""lum: image processing and measurement for machine vision, on NumPy arrays.

    import numpy as np, lum
    frame = np.random.default_rng(1).integers(0, 1500, (480, 640), dtype=np.uint16)
    frame[100:200, 150:400] += 2500                      # one bright part
    t = lum.threshold_otsu(frame)
    binary = lum.opening(lum.binarize(frame, t + 1, valid_bits=12), size=(5, 5))  # above t
    objects = lum.measure(binary, min_area=20)        # areas, centroids, boxes, axes

Arrays in, arrays out: functions take numpy arrays of uint8, uint16 or float32, 2-D grey
(height, width) or colour (height, width, 3), any strides, and return new arrays; `out=` writes
into an existing one. Points are (x, y), sizes (width, height), rectangles (x, y, width, height).
16-bit data carries its significant bits as valid_bits= (default 16): binarize() writes
2**valid_bits - 1, add() clamps to it, histogram() spans it. A negative status of the library
raises LumError (.code, .phrase). The library's calls release the GIL: frames on a thread pool
run in parallel.

Every exported C operation has a function here (below, C name -> function):
  lum_add/addI/addCI/subC/sub/subI -> add, subtract; lum_absDiff -> absdiff;
  lum_and/or/xor -> bitwise_and/or/xor; lum_mulCI -> multiply; lum_divI -> divide;
  lum_img_max_every/min_every -> maximum, minimum; lum_convert -> convert;
  lum_LShift(I)/RShift(I) -> left_shift, right_shift; lum_lut -> lut; lum_invert -> invert;
  lum_scale(I) -> scale; lum_lnI -> log; lum_adjust -> adjust_levels;
  lum_color_to_gray, lum_gray_to_color -> color_to_gray, gray_to_color;
  lum_color_twist(I) -> transform_color; lum_computer_color_bc -> apply_palette;
  lum_copy_color2channels/channels2color/gray2color -> split_channels, merge_channels,
  insert_channel; lum_swap_channels -> reorder_channels; lum_mirrorI -> flip;
  lum_resize -> resize; lum_rotate -> rotate;
  lum_sum, lum_img_min_max, lum_img_mean_stddev -> stats, min_max;
  lum_histogram -> histogram; lum_otsu_get_threshold -> threshold_otsu;
  lum_projection_max/min/mean(_init) -> projection; lum_get_profile/get_fast_profile -> profile;
  lum_generate_mask(_part) -> draw_mask; lum_mask_mean/_stddev/min_max -> masked_mean,
  masked_stats; lum_binarization -> binarize; lum_binarizationI -> threshold; lum_clipI -> clip;
  lum_morph_open_close -> opening, closing; lum_find_contours, lum_get_contours_result,
  lum_release_contours -> find_contours; lum_expand_contour -> expand_contour;
  lum_vline_contour -> contour_runs; lum_watershed -> watershed;
  lum_measure_objects -> measure; the _rect forms -> rect= arguments.
  lum_copy, lum_copy_rect, lum_clear and pixel access are NumPy's own copying, slicing and
  indexing. The handle-level mirror of the C interface is lum.raw.
"""
from ._native import LumError, status_text
from . import raw
from ._arith import (absdiff, add, adjust_levels, bitwise_and, bitwise_or, bitwise_xor, convert, divide, invert,
                     left_shift, log, lut, maximum, minimum, multiply, right_shift, scale, subtract)
from ._color import (apply_palette, color_to_gray, gray_to_color, insert_channel, merge_channels,
                     reorder_channels, split_channels, transform_color)
from ._geometry import flip, resize, rotate
from ._measure import (OBJECT_DTYPE, MaskStats, Stats, draw_mask, histogram, masked_mean, masked_stats, measure,
                       min_max, profile, projection, stats, threshold_otsu)
from ._segment import (binarize, clip, closing, contour_runs, expand_contour, find_contours, opening, threshold,
                       watershed)

__version__ = "0.1.0"

__all__ = [
    "LumError", "status_text", "raw", "Stats", "MaskStats", "OBJECT_DTYPE",
    "add", "subtract", "absdiff", "multiply", "divide", "bitwise_and", "bitwise_or", "bitwise_xor",
    "maximum", "minimum", "convert", "left_shift", "right_shift", "lut", "invert", "scale", "log",
    "adjust_levels",
    "color_to_gray", "gray_to_color", "transform_color", "apply_palette", "split_channels", "merge_channels",
    "insert_channel", "reorder_channels",
    "flip", "resize", "rotate",
    "stats", "min_max", "histogram", "threshold_otsu", "projection", "profile", "draw_mask", "masked_mean",
    "masked_stats", "measure",
    "binarize", "threshold", "clip", "opening", "closing", "find_contours", "expand_contour", "contour_runs",
    "watershed",
]

for _name in __all__:
    _obj = globals()[_name]
    if getattr(_obj, "__module__", "").startswith("lum._"):
        _obj.__module__ = "lum"  # help() and reprs name the package, not its private modules
del _name, _obj
