#include "camera/camera_library.h"

#include "base/module.h"

namespace mrb {

CameraLibrary &cameraLibrary() {
    static CameraLibrary &library = []() -> CameraLibrary & {
        const Module module("libmrb-cameras.so");
        return *module.function<MakeCameraLibrary>(MAKE_CAMERA_LIBRARY_SYMBOL)();
    }();
    return library;
}

} // namespace mrb
