// The class that hosts create: clsMPU behind its COM interface.
#pragma once

#include "com/com_ptr.h"
#include "com/host_thread.h"
#include "com/server.h"

#include <atomic>
#include <kx3mpu6_idl.h>
#include <memory>
#include <string_view>

namespace kx3::com {

/// One object of the class. Every member answers with a status; a failed one leaves an error object
/// with its description, for callers of the interface and for late-bound callers alike. A member
/// called on another thread than the object's fails with RPC_E_WRONG_THREAD and does nothing; the
/// last reference may go on any thread.
class ComMpu final : public ::_clsMPU, public ::ISupportErrorInfo {
  public:
    /// An object of the calling thread, with one reference. Raises out of memory.
    [[nodiscard]] static ComPtr<ComMpu> create();

    ComMpu(const ComMpu &) = delete;
    ComMpu &operator=(const ComMpu &) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT *count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo **typeInfo) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR *names, UINT count, LCID locale,
                                            DISPID *identifiers) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags, DISPPARAMS *parameters,
                                     VARIANT *result, EXCEPINFO *exception, UINT *badArgument) override;

    HRESULT STDMETHODCALLTYPE get_buflg(LONG *value) override;
    HRESULT STDMETHODCALLTYPE put_buflg(LONG value) override;
    HRESULT STDMETHODCALLTYPE get_exitpower(VARIANT_BOOL *value) override;
    HRESULT STDMETHODCALLTYPE put_exitpower(VARIANT_BOOL value) override;
    HRESULT STDMETHODCALLTYPE runMpu6Prg(VARIANT_BOOL *usbenable) override;
    HRESULT STDMETHODCALLTYPE mpu6warn(unsigned char *no) override;
    HRESULT STDMETHODCALLTYPE editfigmpu6() override;
    HRESULT STDMETHODCALLTYPE bufcommpu6(SHORT *num) override;
    HRESULT STDMETHODCALLTYPE freesharebuffermpu6() override;
    HRESULT STDMETHODCALLTYPE sinitmpu6() override;

    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID id) override;

  private:
    ComMpu(std::shared_ptr<HostThread> thread, HostThread::Object &object) noexcept
        : thread_(std::move(thread)), object_(object) {}
    ~ComMpu();

    template <class Body> HRESULT perform(Body body) noexcept;

    ModuleReference keepsLibraryLoaded_;
    std::atomic<ULONG> references_{1};
    std::shared_ptr<HostThread> thread_;
    HostThread::Object &object_;
};

} // namespace kx3::com
