#include "win32/visual_styles.h"

#include "win32/own_module.h"

namespace kx3::win32 {

namespace {

HANDLE createContext() noexcept {
    ACTCTXW request{};
    request.cbSize = sizeof request;
    request.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID | ACTCTX_FLAG_HMODULE_VALID;
    request.hModule = ownModule();
    request.lpResourceName = MAKEINTRESOURCEW(visualStylesManifest);
    // The context needs a file name, too, on systems that resolve what it depends on beside the file.
    wchar_t path[MAX_PATH] = {};
    const DWORD length = ::GetModuleFileNameW(ownModule(), path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return INVALID_HANDLE_VALUE;
    request.lpSource = path;
    return ::CreateActCtxW(&request);
}

/// Made by the first dialog and kept, as the control library is: its window classes outlive a dialog.
HANDLE context() noexcept {
    static HANDLE const made = createContext();
    return made;
}

} // namespace

VisualStyles::VisualStyles() noexcept {
    if (context() == INVALID_HANDLE_VALUE || ::ActivateActCtx(context(), &cookie_) == FALSE) return;
    static const HMODULE controls = ::LoadLibraryW(L"comctl32.dll");
    (void)controls;
}

VisualStyles::~VisualStyles() {
    if (cookie_ != 0) ::DeactivateActCtx(0, cookie_);
}

} // namespace kx3::win32
