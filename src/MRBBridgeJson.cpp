#include "MRBBridgeJson.h"

#include <cfloat>
#include <cmath>
#include <exception>
#include <limits>
#include <locale>
#include <sstream>
#include <utility>

#include <json/reader.h>

#include "json_text.h"
#include "log.h"

// Scripts rely on what this reader tolerates; the library's newer class differs in it.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace MRBBridge {
namespace {

/// A number as a double. Where functions return floating-point numbers in registers that
/// are wider (32-bit x86), an integer beyond 2^53 would keep digits that a double lacks.
double AsDouble(const Json::Value &value) {
#if FLT_EVAL_METHOD == 2
    const volatile double rounded = value.asDouble();
    return rounded;
#else
    return value.asDouble();
#endif
}

/// Toward zero, kept within the range of the type.
long long TruncateClamped(double value) {
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= limit) {
        return std::numeric_limits<long long>::max();
    }
    return value < -limit ? std::numeric_limits<long long>::min() : static_cast<long long>(value);
}

} // namespace

CMRBBridgeJson::CMRBBridgeJson() : valid_(true) { root_.clear(); }

CMRBBridgeJson::CMRBBridgeJson(const std::string &text) : valid_(false) {
    if (!text.empty()) {
        bool parsed = false;
        try {
            Json::Reader reader;
            parsed = reader.parse(text, root_, true);
        } catch (const std::exception &) {
            // Nested deeper than the reader's limit: a text that does not parse.
            parsed = false;
        }
        if (!parsed) {
            MRB_LOG(LogTag::Common, "Json::Reader parse string[%s] faild.", text.c_str());
        }
    }
    // The reader fills the root as it goes: an object that ends half-way has members
    // to read, so the root's type alone decides.
    valid_ = root_.type() == Json::objectValue;
}

std::string CMRBBridgeJson::ToString() const {
    if (!valid_) {
        MRB_LOG(LogTag::Common, "ToString fail. jsonvalue is invalid type[%d].", root_.type());
        return {};
    }
    return JsonText(root_);
}

void CMRBBridgeJson::Clear() {
    if (!valid_) {
        MRB_LOG(LogTag::Common, "Clear fail. jsonvalue is invalid type[%d].", root_.type());
        return;
    }
    root_.clear();
}

bool CMRBBridgeJson::Set(const std::string &key, Json::Value &&value, std::nullptr_t /*any type*/) {
    if (!valid_) {
        MRB_LOG(LogTag::Common, "Set fail. jsonvalue is invalid type[%d].", root_.type());
        return false;
    }
    root_[key] = std::move(value);
    return true;
}

bool CMRBBridgeJson::Set(const std::string &key, bool value) { return Set(key, Json::Value(value), nullptr); }

bool CMRBBridgeJson::Set(const std::string &key, int value) { return Set(key, Json::Value(value), nullptr); }

bool CMRBBridgeJson::Set(const std::string &key, unsigned int value) {
    return Set(key, Json::Value(value), nullptr);
}

bool CMRBBridgeJson::Set(const std::string &key, long long value) {
    return Set(key, Json::Value(static_cast<double>(value)), nullptr);
}

bool CMRBBridgeJson::Set(const std::string &key, unsigned long long value) {
    return Set(key, Json::Value(static_cast<double>(value)), nullptr);
}

bool CMRBBridgeJson::Set(const std::string &key, double value) {
    return Set(key, Json::Value(value), nullptr);
}

bool CMRBBridgeJson::Set(const std::string &key, const std::string &value) {
    return Set(key, Json::Value(value), nullptr);
}

bool CMRBBridgeJson::Set(const std::string &key, const char *value) {
    return Set(key, Json::Value(value == nullptr ? "" : value), nullptr);
}

bool CMRBBridgeJson::Set(const std::string &key, const std::vector<std::string> &value) {
    if (!valid_) {
        MRB_LOG(LogTag::Common, "Set fail. jsonvalue is invalid type[%d].", root_.type());
        return false;
    }
    if (value.empty()) {
        return true;
    }
    Json::Value &member = root_[key];
    if (!member.isArray()) {
        member = Json::Value(Json::arrayValue);
    }
    for (const std::string &element : value) {
        member.append(element);
    }
    return true;
}

template <typename T, typename Convert>
bool CMRBBridgeJson::Get(const std::string &key, T &out, TypeTest test, Convert convert) const {
    if (!valid_) {
        MRB_LOG(LogTag::Common, "Get fail. jsonvalue is invalid type[%d].", root_.type());
        return false;
    }
    const Json::Value *value = Find(key);
    if (value == nullptr) {
        MRB_LOG(LogTag::Common, "NO strKey[%s] in josn.", key.c_str());
        return false;
    }
    if (!(value->*test)() || !convert(*value, out)) {
        MRB_LOG(LogTag::Common, "value.type[%d].", value->type());
        return false;
    }
    return true;
}

template <typename T>
bool CMRBBridgeJson::Get(const std::string &key, std::vector<T> &out, Json::ValueType type,
                         T (Json::Value::*convert)() const) const {
    return Get(key, out, &Json::Value::isArray,
               [type, convert](const Json::Value &array, std::vector<T> &all) {
                   std::vector<T> elements;
                   elements.reserve(array.size());
                   for (const Json::Value &element : array) {
                       if (!element.isConvertibleTo(type)) {
                           return false;
                       }
                       elements.push_back((element.*convert)());
                   }
                   all.insert(all.end(), std::make_move_iterator(elements.begin()),
                              std::make_move_iterator(elements.end()));
                   return true;
               });
}

bool CMRBBridgeJson::Get(const std::string &key, bool &out) const {
    return Get(key, out, &Json::Value::isBool, [](const Json::Value &value, bool &converted) {
        converted = value.asBool();
        return true;
    });
}

bool CMRBBridgeJson::Get(const std::string &key, int &out) const {
    return Get(key, out, &Json::Value::isInt, [](const Json::Value &value, int &converted) {
        converted = value.asInt();
        return true;
    });
}

bool CMRBBridgeJson::Get(const std::string &key, unsigned int &out) const {
    return Get(key, out, &Json::Value::isUInt, [](const Json::Value &value, unsigned int &converted) {
        converted = value.asUInt();
        return true;
    });
}

bool CMRBBridgeJson::Get(const std::string &key, long long &out) const {
    return Get(key, out, &Json::Value::isDouble, [](const Json::Value &value, long long &converted) {
        converted = TruncateClamped(AsDouble(value));
        return true;
    });
}

bool CMRBBridgeJson::Get(const std::string &key, unsigned long long &out) const {
    // The 32-bit test goes with the floating read on purpose: what scripts send
    // here are counts, and a larger number is refused rather than rounded.
    return Get(key, out, &Json::Value::isUInt, [](const Json::Value &value, unsigned long long &converted) {
        converted = static_cast<unsigned long long>(value.asDouble());
        return true;
    });
}

bool CMRBBridgeJson::Get(const std::string &key, double &out) const {
    return Get(key, out, &Json::Value::isDouble, [](const Json::Value &value, double &converted) {
        converted = value.asDouble();
        return true;
    });
}

bool CMRBBridgeJson::Get(const std::string &key, std::string &out) const {
    return Get(key, out, &Json::Value::isString, [](const Json::Value &value, std::string &converted) {
        converted = value.asString();
        return true;
    });
}

bool CMRBBridgeJson::Get(const std::string &key, std::vector<std::string> &out) const {
    return Get(key, out, Json::stringValue, &Json::Value::asString);
}

bool CMRBBridgeJson::Get(const std::string &key, std::vector<int> &out) const {
    return Get(key, out, Json::intValue, &Json::Value::asInt);
}

const Json::Value *CMRBBridgeJson::Find(const std::string &key) const {
    // find() of a root that is neither an object nor null would throw.
    return root_.isObject() ? root_.find(key.data(), key.data() + key.size()) : nullptr;
}

bool CMRBBridgeJson::Has(const std::string &key) const { return Find(key) != nullptr; }

bool CMRBBridgeJson::IsInt(const std::string &key) const {
    const Json::Value *value = Find(key);
    return value != nullptr && value->isInt();
}

bool CMRBBridgeJson::IsString(const std::string &key) const {
    const Json::Value *value = Find(key);
    return value != nullptr && value->isString();
}

void CMRBBridgeJson::Remove(const std::string &key) {
    if (!valid_) {
        MRB_LOG(LogTag::Common, "GetKeys fail. jsonvalue is invalid type[%d].", root_.type());
        return;
    }
    if (Has(key)) {
        root_.removeMember(key);
    }
}

bool CMRBBridgeJson::GetKeys(std::vector<std::string> &keys) const {
    if (!valid_) {
        MRB_LOG(LogTag::Common, "GetKeys fail. jsonvalue is invalid type[%d].", root_.type());
        return false;
    }
    const std::vector<std::string> names = root_.getMemberNames();
    keys.insert(keys.end(), names.begin(), names.end());
    return true;
}

template <typename T>
std::string ConvertNumberToString(T value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic()); // a process locale may group digits
    stream << value;
    return stream.str();
}
template std::string ConvertNumberToString<long long>(long long value);

} // namespace MRBBridge
