#pragma once
// What a bridge needs to describe its script class.

#include <v8.h>

namespace Bridge {

/// Passed to ScriptBridge::mapScriptInterface; exists for that call. Main thread.
class ScriptContext {
  public:
    explicit ScriptContext(v8::Local<v8::ObjectTemplate> object_template) : template_(object_template) {}

    /// The template on which the class's methods are set. The host decides
    /// whether that is the prototype's or the instances'.
    v8::Local<v8::ObjectTemplate> getTemplate() const { return template_; }

  private:
    v8::Local<v8::ObjectTemplate> template_;
};

} // namespace Bridge
