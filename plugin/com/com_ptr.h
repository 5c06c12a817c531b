// Ownership of what COM hands out: references, texts, variants.
#pragma once

#include <memory>
#include <windows.h>

#include <oleauto.h>
#include <unknwn.h>

namespace kx3::com {

struct Releaser {
    template <class Interface> void operator()(Interface *object) const noexcept { object->Release(); }
};
/// One counted reference.
template <class Interface> using ComPtr = std::unique_ptr<Interface, Releaser>;

/// A further reference to `object`.
template <class Interface> [[nodiscard]] ComPtr<Interface> addReference(Interface *object) noexcept {
    if (object != nullptr) object->AddRef();
    return ComPtr<Interface>(object);
}

/// Out-parameter of a call that hands over a reference (or a text) to `owner`.
template <class Owner> class Receiver {
  public:
    explicit Receiver(Owner &owner) noexcept : owner_(owner) { owner_.reset(); }
    ~Receiver() { owner_.reset(raw_); }
    Receiver(const Receiver &) = delete;
    Receiver &operator=(const Receiver &) = delete;

    operator typename Owner::pointer *() noexcept { return &raw_; }          // NOLINT: stands as the argument
    operator void **() noexcept { return reinterpret_cast<void **>(&raw_); } // NOLINT

  private:
    Owner &owner_;
    typename Owner::pointer raw_ = nullptr;
};
template <class Owner> [[nodiscard]] Receiver<Owner> receive(Owner &owner) noexcept { return Receiver<Owner>(owner); }

struct BstrFreer {
    void operator()(OLECHAR *text) const noexcept { ::SysFreeString(text); }
};
/// A text of the automation allocator.
using Bstr = std::unique_ptr<OLECHAR, BstrFreer>;

/// A variant that clears what it holds.
class OwnedVariant {
  public:
    OwnedVariant() noexcept = default;
    ~OwnedVariant() { ::VariantClear(&value_); }
    OwnedVariant(const OwnedVariant &) = delete;
    OwnedVariant &operator=(const OwnedVariant &) = delete;

    [[nodiscard]] VARIANT *get() noexcept { return &value_; }
    [[nodiscard]] const VARIANT *get() const noexcept { return &value_; }
    VARIANT *operator->() noexcept { return &value_; }
    const VARIANT *operator->() const noexcept { return &value_; }

  private:
    VARIANT value_{};
};

} // namespace kx3::com
