#pragma once

#include <stdexcept>

namespace mrb {

// A module, or a function of it, is missing.
struct MissingModule : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A library of the framework that is loaded on first use, since it links many others.
// Never closed, nor torn down at the end of the process (module_end.cpp): these have
// threads and handlers that cannot be stopped. Any thread may use it.
class Module {
  public:
    // Loads the file of this name from the folder of the library that this is part of, in a
    // LoadingTurn. A caller that also starts what it has loaded takes a turn around both.
    // Throws MissingModule when it cannot be loaded.
    explicit Module(const char *file);

    // Throws MissingModule when the library has no such function.
    template <typename Function>
    [[nodiscard]] Function *function(const char *name) const {
        return reinterpret_cast<Function *>(symbol(name));
    }

  private:
    [[nodiscard]] void *symbol(const char *name) const;

    void *library_ = nullptr;
};

} // namespace mrb
