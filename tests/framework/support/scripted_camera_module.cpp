// The camera module that the libmrb.so.1 next to it loads: its cameras are the test program's.

#include "support/scripted_camera.h"

mrb::CameraLibrary *mrb::mrb_make_camera_library() { return scripted_camera_library(); }
