#pragma once
// The arguments of a script call, behind an interface.

#include <v8.h>

namespace Bridge {

/// What a ScriptArray reads from: values by index. Owned by the code that creates it;
/// main thread only.
class Arguments {
  public:
    Arguments() = default;
    Arguments(const Arguments &) = delete;
    Arguments &operator=(const Arguments &) = delete;
    virtual ~Arguments() = default;

    virtual int length() const = 0;

    /// The value at `index`; undefined outside 0 to length() - 1.
    virtual v8::Local<v8::Value> at(int index) const = 0;
};

/// The arguments of one V8 call. Lives no longer than the call.
template <typename ReturnType>
class V8Arguments final : public Arguments {
  public:
    explicit V8Arguments(const v8::FunctionCallbackInfo<ReturnType> &info) : info_(info) {}

    int length() const override { return info_.Length(); }

    v8::Local<v8::Value> at(int index) const override {
        if (index < 0 || index >= info_.Length()) {
            return v8::Undefined(info_.GetIsolate());
        }
        return info_[index];
    }

  private:
    const v8::FunctionCallbackInfo<ReturnType> &info_;
};

} // namespace Bridge
