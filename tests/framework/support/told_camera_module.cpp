// The library that a libmrb.so.1 beside it loads in the place of the one that speaks with
// cameras: these are the test program's.

#include "support/told_camera.h"

mrb::CameraLibrary *mrb::mrb_make_camera_library() { return told_camera_library(); }
