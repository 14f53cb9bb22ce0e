#include "camera/gphoto/gphoto_library.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <stdexcept>
#include <string_view>

#include "base/loading.h"
#include "camera/gphoto/gphoto_camera.h"
#include "text/text.h"

namespace mrb {
namespace {

// libgphoto2's model name for every camera of the PTP class that it does not know.
constexpr const char *ANY_CAMERA = "USB PTP Class Camera";

constexpr const char *A_FOLDER = "Directory Browse";
constexpr std::string_view FOLDER_PORT = "disk:";

// Whether the folder exists; the driver of folders opens any path.
bool isThere(const std::string &port) {
    struct stat fileStatus {};
    return !port.starts_with(FOLDER_PORT) ||
           (stat(port.c_str() + FOLDER_PORT.size(), &fileStatus) == 0 && S_ISDIR(fileStatus.st_mode));
}

CameraAbilitiesList *loadDrivers() {
    CameraAbilitiesList *list = nullptr;
    const GphotoContext context(gp_context_new());
    if (gp_abilities_list_new(&list) < GP_OK || gp_abilities_list_load(list, context.get()) < GP_OK ||
        gp_abilities_list_count(list) <= 0) {
        throw std::runtime_error("libgphoto2 has no drivers");
    }
    return list;
}

// Keeps the library of a driver loaded: gp_camera_init, which waits for the camera and so runs
// outside of a turn, finds it loaded. A library that cannot be loaded makes it fail.
void keepLoaded(const CameraAbilities &abilities) {
    const std::string library = abilities.library;
    if (library.starts_with('/')) {
        const std::string file = library.ends_with(".so") ? library : library + ".so";
        dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
    }
}

// Sets the camera's driver and the port at `path`, which loads their libraries; returns a
// code of libgphoto2.
int equip(::Camera *camera, const CameraAbilities &abilities, const std::string &path) {
    const LoadingTurn turn;
    keepLoaded(abilities);
    gp_camera_set_abilities(camera, abilities);
    GPPortInfoList *found = nullptr;
    int code = gp_port_info_list_new(&found);
    const GphotoPorts ports(found);
    if (code >= GP_OK) {
        code = gp_port_info_list_load(ports.get());
    }
    const int index = code < GP_OK ? code : gp_port_info_list_lookup_path(ports.get(), path.c_str());
    GPPortInfo info{};
    code = index < GP_OK ? index : gp_port_info_list_get_info(ports.get(), index, &info);
    return code < GP_OK ? code : gp_camera_set_port_info(camera, info);
}

} // namespace

GphotoLibrary::GphotoLibrary() : drivers_(loadDrivers()) {}

CameraModel GphotoLibrary::modelOf(const CameraAddress &address) {
    if (address.port.starts_with(FOLDER_PORT)) {
        return {A_FOLDER, {}};
    }
    CameraModel any;
    const int number = gp_abilities_list_count(drivers_.get());
    for (int index = 0; index < number; ++index) {
        CameraAbilities abilities{};
        if (gp_abilities_list_get_abilities(drivers_.get(), index, &abilities) < GP_OK) {
            continue;
        }
        if (address.vendor != 0 && abilities.usb_vendor == address.vendor &&
            abilities.usb_product == address.product) {
            return {abilities.model, displayText(abilities.model)};
        }
        if (std::string(ANY_CAMERA) == abilities.model) {
            any.driver = ANY_CAMERA;
        }
    }
    return any;
}

bool GphotoLibrary::findDriver(const std::string &driver, CameraAbilities &abilities) {
    const int index = gp_abilities_list_lookup_model(drivers_.get(), driver.c_str());
    return index >= 0 && gp_abilities_list_get_abilities(drivers_.get(), index, &abilities) >= GP_OK;
}

std::unique_ptr<Camera> GphotoLibrary::open(const CameraAddress &address, Status &status) {
    if (!isThere(address.port)) {
        status = Status::deviceRemoved(displayText(address.port) + ": there is no such folder.");
        return nullptr;
    }
    const std::string driver = modelOf(address).driver;
    const MutexLock guard(loading_);
    CameraAbilities abilities{};
    if (!findDriver(driver, abilities)) {
        status = Status::notSupported("libgphoto2 has no driver \"" + driver + "\".");
        return nullptr;
    }
    ::Camera *made = nullptr;
    int code = gp_camera_new(&made);
    GphotoCamera::Handle camera(made);
    if (code >= GP_OK) {
        code = equip(camera.get(), abilities, address.port);
    }
    if (code >= GP_OK) {
        const GphotoContext context(gp_context_new());
        code = gp_camera_init(camera.get(), context.get());
    }
    status = statusOfGphoto(code, address.port);
    if (status.code == MRB_ERR_NOT_FOUND) { // no such port, or no device at it
        status.code = MRB_ERR_DEVICE_REMOVED;
    }
    return code >= GP_OK ? std::make_unique<GphotoCamera>(std::move(camera), loading_) : nullptr;
}

CameraLibrary *mrb_make_camera_library() { return new GphotoLibrary; }

} // namespace mrb
