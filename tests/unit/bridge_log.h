#pragma once
// The bridge's log lines as tests compare them: AGENT + "GetItem: message".

#include <string>
#include <vector>

#include "log_lines.h"

/// The beginnings of the lines of each part of the bridge: their tag and their file.
inline const std::string PROVIDER = "MRB-BRIDGE-COMMON MRBAdapterProvider.cpp ";
inline const std::string JSON = "MRB-BRIDGE-COMMON MRBBridgeJson.cpp ";
inline const std::string AGENT = "MRB-BRIDGE-AGENT MRBAgentAdapter.cpp ";
inline const std::string THUMBNAIL = "MRB-BRIDGE-THUMBNAIL MRBThumbnailAdapter.cpp ";
inline const std::string STORAGE = "MRB-BRIDGE-STORAGEMGR MRBStorageMgrAdapter.cpp ";

/// "Tag File Function: message" of a well-formed line; the whole line, marked, of any
/// other.
std::string messageOf(const recording::LogLine &line);

/// The messages of every line so far. Forgets them.
std::vector<std::string> takeLog();
