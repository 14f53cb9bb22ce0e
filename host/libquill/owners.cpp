#include "owners.h"

#include "host.h"

namespace Bridge {

Owners &Owners::instance() {
    static auto *owners = new Owners;
    return *owners;
}

FunctionOwner *Owners::active() { return active_native_ == nullptr ? nullptr : ownerOf(active_native_); }

FunctionOwner *Owners::ownerOf(void *native) {
    FunctionOwner *&owner = by_native_[native];
    if (owner == nullptr) {
        owner = new FunctionOwner{native, 0, true};
    }
    return owner;
}

template <typename Change>
void Owners::apply(FunctionOwner &owner, Change change) {
    const bool kept_before = owner.keepsAlive();
    change(owner);
    const int difference = static_cast<int>(owner.keepsAlive()) - static_cast<int>(kept_before);
    if (difference == 0) {
        return;
    }
    const bool alive_before = keeping_alive_ > 0;
    keeping_alive_ += difference;
    if (Host *host = Host::current(); host != nullptr && alive_before != (keeping_alive_ > 0)) {
        host->keepAlive(keeping_alive_ > 0);
    }
}

void Owners::retain(FunctionOwner *owner) noexcept {
    if (owner != nullptr) {
        apply(*owner, [](FunctionOwner &changed) { ++changed.functions; });
    }
}

void Owners::release(FunctionOwner *owner) noexcept {
    if (owner != nullptr) {
        apply(*owner, [](FunctionOwner &changed) { --changed.functions; });
        discard(owner);
    }
}

void Owners::setReferenced(void *native, bool referenced) {
    apply(*ownerOf(native), [referenced](FunctionOwner &changed) { changed.referenced = referenced; });
}

void Owners::forget(void *native) noexcept {
    const auto found = by_native_.find(native);
    if (found == by_native_.end()) {
        return;
    }
    FunctionOwner *owner = found->second;
    by_native_.erase(found);
    owner->native = nullptr;
    discard(owner);
}

void Owners::discard(FunctionOwner *owner) noexcept {
    if (owner->native == nullptr && owner->functions == 0) {
        delete owner;
    }
}

} // namespace Bridge
