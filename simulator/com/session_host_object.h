// The session host as a COM object for late-bound callers.
#pragma once

#include "blocks/sharemap.h"
#include "com/com_ptr.h"
#include "simulator/session_host.h"

#include <optional>

namespace kx3sim {

/// The class kx3host.SessionHost. A process has one programmer, so all creators get the same
/// object; it lives until the process ends. It must be used on one thread.
///
/// Besides the session host's operations it has what a test host needs:
///   Insert(maker, deviceCode)          identity of the chip that the next Open creates; 0 and 0 without
///   Open(instance, chipFile, faults)   switch the programmer on and attach the blocks of a host
///                                      instance as their owner; "" as chip file keeps the chip in
///                                      memory
///   Close()                            save the chip, give the blocks back, switch off
///   CarryOut(operation)                do what the session window has announced, on a non-ARM chip; leave
///                                      the result code and texts in the blocks
///   Passed()                           True when the newest operation ended with SignalPass
class SessionHostObject final : public IDispatch {
  public:
    [[nodiscard]] static SessionHostObject &theOne();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT *count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo **typeInfo) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR *names, UINT count, LCID locale,
                                            DISPID *identifiers) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags, DISPPARAMS *parameters,
                                     VARIANT *result, EXCEPINFO *exception, UINT *badArgument) override;

    /// The session host; raises "object not set" before Open.
    [[nodiscard]] SessionHost &host();
    void insert(kx3::Byte maker, kx3::Byte deviceCode);
    void open(kx3::Integer instance, const std::u16string &chipFile, const std::u16string &faults);
    void close();
    void carryOut(kx3::Long operation);
    [[nodiscard]] bool passed();

  private:
    kx3::sharemap blocks_;
    kx3::Byte maker_ = 0;
    kx3::Byte deviceCode_ = 0;
    std::optional<SessionHost> host_;
};

} // namespace kx3sim
