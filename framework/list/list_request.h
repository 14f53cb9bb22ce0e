#pragma once

#include <string>

namespace mrb {

// The options of a list, from a general parameter object. See mrb/agent.h.
struct ListRequest {
    std::string contentType;
    std::string sortCategory;
    std::string extension;
    std::string keyWord;
    std::string prepareData;
    std::string source;
    std::string path;
    std::string folderId;
    std::string modelName;
    std::string languageId;
    std::string deviceUniqueId;
    std::string accessToken;
    std::string country;
    int bus = 0;
    int device = 0;
    bool isUhdMeta = false;
    bool updateUhdMeta = false;
};

} // namespace mrb
