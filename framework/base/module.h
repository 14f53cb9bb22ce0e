#pragma once

namespace mrb {

// A library of the framework's own that is loaded when it is first needed, since it
// brings many others along. Never closed, nor torn down at the end of the process
// (module_end.cpp): these have threads and handlers that cannot be taken back. Any thread may use it.
class Module {
  public:
    // Opens the file of this name beside the library that this is part of.
    // Throws std::runtime_error when it cannot be loaded.
    explicit Module(const char *file);

    // Throws std::runtime_error when the library has no such function.
    template <typename Function>
    [[nodiscard]] Function *function(const char *name) const {
        return reinterpret_cast<Function *>(symbol(name));
    }

  private:
    [[nodiscard]] void *symbol(const char *name) const;

    void *library_;
};

} // namespace mrb
