#include "callbacks.h"

#include <cstring>
#include <mutex>
#include <utility>

#include "blocks.h"
#include "events.h"
#include "recorder.h"
#include "records.h"

namespace recording {

namespace {

template <typename Callback>
struct Registration {
    Callback callback = nullptr;
    void *user_data = nullptr;
};

// Guarded by recorderMutex(); never destroyed, because framework threads may
// outlive main.
struct Registered {
    std::vector<Registration<mrb_request_list_cb>> lists;
    std::vector<Registration<mrb_batch_process_cb>> shares;
    std::vector<Registration<mrb_storage_notification_cb>> usb;
    std::vector<Registration<mrb_storage_notification_cb>> dlna;
    std::vector<Registration<mrb_dlna_state_cb>> dlna_states;
    std::vector<Registration<thumbnail_result_cb>> thumbnails;
    Registration<mrb_batch_process_cb> next_share;
};

Registered &registered() {
    static auto *only = new Registered;
    return *only;
}

template <typename Callback>
void add(std::vector<Registration<Callback>> &to, Callback callback, void *user_data) {
    if (isRecording()) {
        const std::lock_guard<std::mutex> lock(recorderMutex());
        to.push_back({callback, user_data});
    }
}

/// The wanted registration, copied so that the callback runs without the mutex.
template <typename Callback>
std::optional<Registration<Callback>> find(const std::vector<Registration<Callback>> &from,
                                           const Target &target) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    const auto size = static_cast<int64_t>(from.size());
    const int64_t index = target.registration < 0 ? size + target.registration : target.registration;
    if (index < 0 || index >= size) {
        return std::nullopt;
    }
    Registration<Callback> registration = from[static_cast<size_t>(index)];
    if (target.null_user_data) {
        registration.user_data = nullptr;
    }
    return registration;
}

/// Notes what a callback returned.
void note(const char *kind, Value value = nullptr) {
    if (isRecording()) {
        addEvent(Returned{kind, std::move(value)});
    }
}

bool fireDevice(const char *kind, const std::vector<Registration<mrb_storage_notification_cb>> &from,
                const Target &target, const DeviceEvent &event) {
    const auto found = find(from, target);
    _mrb_storage_s *device = deviceOf(event.device);
    if (!found || device == nullptr) {
        return false;
    }
    found->callback(found->user_data, event.event, device);
    note(kind);
    return true;
}

} // namespace

bool fireList(const Target &target, const ListEvent &event) {
    const auto found = find(registered().lists, target);
    if (!found) {
        return false;
    }
    note("list", found->callback(found->user_data, event.agent, event.event, event.reserved,
                                 event.server_data ? event.server_data->c_str() : nullptr));
    return true;
}

bool fireShare(const Target &target, const ShareEvent &event) {
    const auto found = find(registered().shares, target);
    if (!found) {
        return false;
    }
    Record<share_status::SIZE> record;
    record.put(share_status::TOTAL_FILE_COUNT, event.total_file_count);
    record.put(share_status::DONE_FILE_COUNT, event.done_file_count);
    record.put(share_status::TOTAL_FILE_SIZE, event.total_file_size);
    record.put(share_status::SUCCESS_FILE_SIZE, event.success_file_size);
    record.put(share_status::CURRENT_FILE_SIZE, event.current_file_size);
    record.put(share_status::PROGRESS_FILE_SIZE, event.progress_file_size);
    record.putText(share_status::CURRENT_FILE_NAME,
                   event.current_file_name.substr(0, MRB_SHARE_FILE_NAME_BYTES - 1));
    note("share",
         found->callback(found->user_data, event.share, event.event, record.as<mrb_share_status_info_s>()));
    return true;
}

bool fireUsb(const Target &target, const DeviceEvent &event) {
    return fireDevice("usb", registered().usb, target, event);
}

bool fireDlna(const Target &target, const DeviceEvent &event) {
    return fireDevice("dlna", registered().dlna, target, event);
}

bool fireDlnaState(const Target &target, int state) {
    const auto found = find(registered().dlna_states, target);
    if (!found) {
        return false;
    }
    found->callback(state, found->user_data);
    note("dlnaState");
    return true;
}

bool fireThumbnail(const Target &target, const ThumbnailResult &result, int &answer) {
    const auto found = find(registered().thumbnails, target);
    if (!found) {
        return false;
    }
    Record<thumb_result::SIZE> record;
    record.putText(thumb_result::ORIGIN_PATH, result.origin_path.substr(0, MRB_THUMB_PATH_BYTES - 1));
    std::array<unsigned char *, MRB_THUMB_IMAGES> images{};
    for (size_t i = 0; i < images.size() && static_cast<int>(i) < result.images; ++i) {
        images[i] = static_cast<unsigned char *>(newBlock(result.image_bytes, "image"));
        for (size_t offset = 0; offset < result.image_bytes; ++offset) {
            images[i][offset] = static_cast<unsigned char>((offset + i * 50) % 251);
        }
    }
    record.put(thumb_result::IMAGE_BUFFER, images);
    record.put(thumb_result::BUFFER_SIZE, result.buffer_size);
    record.put(thumb_result::IMAGE_WIDTH, result.width);
    record.put(thumb_result::IMAGE_HEIGHT, result.height);
    record.put(thumb_result::IMAGE_DEPTH, result.depth);
    record.put(thumb_result::IMAGE_COUNT, result.image_count);
    record.put(thumb_result::TIME_STAMP, result.time_stamps);
    record.put(thumb_result::FLAG_ORIGIN_IMAGE, result.flag_origin_image);
    char *preset = nullptr;
    if (result.preset) {
        preset = static_cast<char *>(newBlock(MRB_THUMB_PRESET_BYTES, "preset"));
        std::memset(preset, 'P', MRB_THUMB_PRESET_BYTES);
        result.preset_text.copy(preset, MRB_THUMB_PRESET_BYTES);
    }
    record.put(thumb_result::PRESET_BUFFER, preset);
    answer = found->callback(result.result, result.null_record ? nullptr : record.as<thumb_result_s>(),
                             found->user_data);
    note("thumbnail", int64_t{answer});
    return true;
}

int64_t registrations(const std::string &kind) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    const Registered &all = registered();
    const std::pair<const char *, size_t> counts[] = {{"list", all.lists.size()},
                                                      {"share", all.shares.size()},
                                                      {"usb", all.usb.size()},
                                                      {"dlna", all.dlna.size()},
                                                      {"dlnaState", all.dlna_states.size()},
                                                      {"thumbnail", all.thumbnails.size()}};
    for (const auto &[name, count] : counts) {
        if (kind == name) {
            return static_cast<int64_t>(count);
        }
    }
    return -1;
}

void addList(mrb_request_list_cb callback, void *user_data) { add(registered().lists, callback, user_data); }
void addUsb(mrb_storage_notification_cb callback, void *user_data) {
    add(registered().usb, callback, user_data);
}
void addDlna(mrb_storage_notification_cb callback, void *user_data) {
    add(registered().dlna, callback, user_data);
}
void addDlnaState(mrb_dlna_state_cb callback, void *user_data) {
    add(registered().dlna_states, callback, user_data);
}
void addThumbnail(thumbnail_result_cb callback, void *user_data) {
    add(registered().thumbnails, callback, user_data);
}

void setShareUserData(void *user_data) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    registered().next_share.user_data = user_data;
}

void setShareCallback(mrb_batch_process_cb callback) {
    const std::lock_guard<std::mutex> lock(recorderMutex());
    registered().next_share.callback = callback;
}

void addShare() {
    Registration<mrb_batch_process_cb> share;
    {
        const std::lock_guard<std::mutex> lock(recorderMutex());
        share = registered().next_share;
    }
    add(registered().shares, share.callback, share.user_data);
}

} // namespace recording
