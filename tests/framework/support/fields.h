#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "support/client.h"

namespace support {

// A field of the item at an index, through the framework's C functions: the code,
// and the value that came with it.
template <typename Value, typename Get>
std::pair<int, Value> fieldOf(const Client &client, int index, Get get, const char *name, Value preset) {
    EXPECT_EQ(mrb_move_to_index_v2(client.handle, index), MRB_ERR_NONE);
    Value value = preset;
    const int code = get(client.handle, name, &value);
    return {code, value};
}

std::pair<int, std::string> textField(const Client &client, int index, const char *name);

// The same for fields that must be there.
std::string text(const Client &client, int index, const char *name);
long long number(const Client &client, int index, const char *name);
long long longNumber(const Client &client, int index, const char *name);
bool flag(const Client &client, int index, const char *name);
double real(const Client &client, int index, const char *name);

// The place of the item of that name in the list; -1 and a test failure without one.
int indexOf(const Client &client, const std::string &name);

// Runs a command of the shell in `folder`; what it wrote to its standard output. A test
// failure when it fails.
std::string shell(const std::string &folder, const std::string &command);

} // namespace support
