#pragma once
// The callbacks that were registered with the recording framework, and firing them. Each
// kind keeps every registration made while recording is on, so that a test can fire that
// of an object of its choice; a negative index counts from the newest. Fire functions run
// the callback on the calling thread and return whether there was a registration of that
// index. Any thread.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mrb/agent.h"
#include "mrb/share.h"
#include "mrb/storage.h"
#include "mrb/thumbnail.h"

namespace recording {

/// The registration to fire, and whether its user data is to be a null pointer.
struct Target {
    int64_t registration = -1;
    bool null_user_data = false;
};

struct ListEvent {
    int agent = 0;
    int event = 0;
    int reserved = 0;
    std::optional<std::string> server_data;
};

struct ShareEvent {
    int share = 0;
    int event = 0;
    uint32_t total_file_count = 0;
    uint32_t done_file_count = 0;
    uint64_t total_file_size = 0;
    uint64_t success_file_size = 0;
    uint64_t current_file_size = 0;
    uint64_t progress_file_size = 0;
    std::string current_file_name; // cut off where the record's field ends
};

struct DeviceEvent {
    int event = 0;
    int64_t device = 0;
};

struct ThumbnailResult {
    int result = 0;
    bool null_record = false;
    std::string origin_path;
    int images = 0; // blocks of 'image_bytes' each; byte b of image i is (b + 50 i) modulo 251
    size_t image_bytes = 0;
    bool preset = false;
    std::string preset_text; // put at the start of the preset buffer, the rest is 'P'
    int width = 0;
    int height = 0;
    int depth = 0;
    int image_count = 0;
    int buffer_size = 0;
    int flag_origin_image = 0;
    std::array<int64_t, MRB_THUMB_IMAGES> time_stamps{};
};

bool fireList(const Target &target, const ListEvent &event);
bool fireShare(const Target &target, const ShareEvent &event);
bool fireUsb(const Target &target, const DeviceEvent &event);
bool fireDlna(const Target &target, const DeviceEvent &event);
bool fireDlnaState(const Target &target, int state);

/// `answer` receives what the callback returned.
bool fireThumbnail(const Target &target, const ThumbnailResult &result, int &answer);

/// How many registrations there were of a kind: "list", "share", "usb", "dlna",
/// "dlnaState" or "thumbnail"; -1 for any other word.
int64_t registrations(const std::string &kind);

// ---- for the recorded functions -----------------------------------------------

void addList(mrb_request_list_cb callback, void *user_data);
void addUsb(mrb_storage_notification_cb callback, void *user_data);
void addDlna(mrb_storage_notification_cb callback, void *user_data);
void addDlnaState(mrb_dlna_state_cb callback, void *user_data);
void addThumbnail(thumbnail_result_cb callback, void *user_data);

/// A share's callback and user data arrive one by one; the start of the share
/// registers both.
void setShareUserData(void *user_data);
void setShareCallback(mrb_batch_process_cb callback);
void addShare();

} // namespace recording
