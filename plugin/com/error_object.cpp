#include "com/error_object.h"

#include "com/com_ptr.h"
#include "platform/win32/wide.h"

#include <kx3mpu6_idl.h>

namespace kx3::com {

namespace {

constexpr OLECHAR source[] = L"kx3mpu6.clsMPU";

bool setErrorObject(std::u16string_view description) noexcept {
    // The system's call takes a terminated text it does not change.
    const Bstr text(::SysAllocStringLen(platform::wide(description.data()), static_cast<UINT>(description.size())));
    ComPtr<ICreateErrorInfo> fresh;
    if (!text || FAILED(::CreateErrorInfo(receive(fresh)))) return false;
    OLECHAR sourceText[std::size(source)];
    std::copy(std::begin(source), std::end(source), sourceText);
    fresh->SetGUID(__uuidof(_clsMPU));
    fresh->SetSource(sourceText);
    if (FAILED(fresh->SetDescription(text.get()))) return false;
    ComPtr<IErrorInfo> info;
    if (FAILED(fresh->QueryInterface(IID_IErrorInfo, receive(info)))) return false;
    return SUCCEEDED(::SetErrorInfo(0, info.get()));
}

} // namespace

HRESULT fail(HRESULT status, std::u16string_view description) noexcept {
    // An older error's text must not explain this one.
    if (!setErrorObject(description)) ::SetErrorInfo(0, nullptr);
    return status;
}

HRESULT fail(const Failure &failure) noexcept { return fail(statusOf(failure.number), failure.description); }

} // namespace kx3::com
