#pragma once
// The JSON document through which requests are read and answers written.

#include <string>
#include <vector>

#include <json/value.h>

namespace MRBBridge {

/// A JSON object that is being built or read. Lives on the stack of the operation
/// that handles one command; never shared between threads.
///
/// Valid when default-constructed or built from a text that holds a JSON object.
/// Nothing throws: a failure is logged and returned as false.
///
/// 64-bit integers travel as JSON numbers in floating form, since scripts have no
/// others: values beyond 2^53 lose their low bits.
class CMRBBridgeJson {
  public:
    CMRBBridgeJson();
    explicit CMRBBridgeJson(const std::string &text);

    /// The document on one line, ended by a line feed; empty when not valid.
    std::string ToString() const;

    /// Removes all members.
    void Clear();

    /// Creates or overwrites a member. False when the document is not valid.
    bool Set(const std::string &key, bool value);
    bool Set(const std::string &key, int value);
    bool Set(const std::string &key, unsigned int value);
    bool Set(const std::string &key, long long value);
    bool Set(const std::string &key, unsigned long long value);
    bool Set(const std::string &key, double value);
    bool Set(const std::string &key, const std::string &value);
    bool Set(const std::string &key, const char *value); ///< null: the empty string

    /// Appends the texts to the array `key`. Without texts nothing is written.
    bool Set(const std::string &key, const std::vector<std::string> &value);

    /// Reads a member into `out`. False, with `out` untouched, when the document
    /// is not valid, the member is missing or its type is another.
    bool Get(const std::string &key, bool &out) const;
    bool Get(const std::string &key, int &out) const;
    bool Get(const std::string &key, unsigned int &out) const;
    bool Get(const std::string &key, long long &out) const; ///< clamped to the type's range
    bool Get(const std::string &key, unsigned long long &out) const;
    bool Get(const std::string &key, double &out) const;
    bool Get(const std::string &key, std::string &out) const;

    /// Reads an array and appends its elements to `out`: all of them or none.
    bool Get(const std::string &key, std::vector<std::string> &out) const;
    bool Get(const std::string &key, std::vector<int> &out) const;

    /// Queries that log nothing and work on any document, also one that is not valid.
    bool Has(const std::string &key) const;
    bool IsInt(const std::string &key) const;
    bool IsString(const std::string &key) const;

    void Remove(const std::string &key);

    /// Appends the names of all members. False when the document is not valid.
    bool GetKeys(std::vector<std::string> &keys) const;

  private:
    using TypeTest = bool (Json::Value::*)() const;

    template <typename T, typename Convert>
    bool Get(const std::string &key, T &out, TypeTest test, Convert convert) const;
    template <typename T>
    bool Get(const std::string &key, std::vector<T> &out, Json::ValueType type,
             T (Json::Value::*convert)() const) const;
    bool Set(const std::string &key, Json::Value &&value, std::nullptr_t /*any type*/);

    /// The member; null where there is none.
    const Json::Value *Find(const std::string &key) const;

    Json::Value root_;
    bool valid_;
};

/// Plain signed decimal, whatever the locale. Instantiated for long long.
template <typename T>
std::string ConvertNumberToString(T value);
extern template std::string ConvertNumberToString<long long>(long long value);

} // namespace MRBBridge
