#pragma once
// Writing JSON values as text.

#include <string>

#include <json/value.h>

namespace MRBBridge {

/// The value on one line, ended by a line feed: byte for byte what Json::FastWriter of
/// the installed library writes, but texts of plain letters take a fraction of its time.
std::string JsonText(const Json::Value &value);

} // namespace MRBBridge
