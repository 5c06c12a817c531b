#include "guarded_callback.h"

#include "base/error.h"
#include "base/text.h"

#include <exception>
#include <new>

namespace kx3console {

kx3_status callbackFailure() noexcept {
    try {
        throw;
    } catch (const kx3::Error &error) {
        kx3_fail_with(kx3::toUtf8(error.description()).c_str());
        return static_cast<kx3_status>(error.number());
    } catch (const std::bad_alloc &) {
        return KX3_OUT_OF_MEMORY;
    } catch (const std::exception &error) {
        kx3_fail_with(error.what());
        return KX3_INTERNAL;
    }
}

} // namespace kx3console
