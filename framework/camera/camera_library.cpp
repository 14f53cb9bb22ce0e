#include "camera/camera_library.h"

#include "base/loading.h"
#include "base/module.h"
#include "base/on_demand.h"
#include "metadata/read_metadata.h"

namespace mrb {

CameraLibrary &cameraLibrary() {
    static OnDemand<CameraLibrary> library;
    return library.get([] {
        // libgphoto2 loads its drivers by itself, and some link libheif and its encoders. The
        // readers load these first, as a module's libraries (base/module_end.cpp).
        loadReaders();
        const LoadingTurn turn;
        const Module module("libmrb-cameras.so");
        return module.function<MakeCameraLibrary>(MAKE_CAMERA_LIBRARY_SYMBOL)();
    });
}

} // namespace mrb
