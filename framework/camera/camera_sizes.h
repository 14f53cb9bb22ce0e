#pragma once

#include <string>

#include "camera/camera_library.h"

namespace mrb {

// What the camera called `name` last said of its storage; zeros when it never did. It is
// asked when that was some time ago, and claimed for so long, which may take seconds;
// one that does not answer, because another program has it, is a line in the log. Any
// thread.
CameraSizes sizesOfCamera(const CameraAddress &camera, const std::string &name);

} // namespace mrb
