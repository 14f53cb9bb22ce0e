#pragma once

#include <string>
#include <vector>

#include "support/client.h"
#include "support/folder.h"

namespace support {

// Writes a file in a folder, with the folders that it lies in.
void writeText(const Folder &folder, const std::string &name, const std::string &text);

// The options for the list of one playlist; of all playlists with an empty path.
ListOptions playlist(const std::string &path, ListOptions options = {});

// Those items of a list that are marked as missing, or are not, by their names.
std::vector<std::string> missing(const Client &client);
std::vector<std::string> found(const Client &client);

} // namespace support
