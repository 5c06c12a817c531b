// The C interface: the entry class, callbacks and errors.

#include "thread_state.h"

#include "outside/driver_table.h"

#include <algorithm>
#include <cstring>

using namespace kx3;
using native::copyOf;
using native::guarded;
using native::required;
using native::ThreadState;
using native::threadState;

static_assert(KX3_OVERFLOW == static_cast<int>(ErrorNumber::overflow));
static_assert(KX3_INTERNAL == static_cast<int>(ErrorNumber::internal));
static_assert(KX3_ENTRY_POINT_NOT_FOUND == static_cast<int>(ErrorNumber::entryPointNotFound));

static_assert(KX3_ENDED_BY_ERROR == static_cast<int>(SessionOutcome::error));

namespace {

/// Objects of the calling thread, so that a stale or foreign handle is an error and not a fault.
auto findObject(ThreadState &state, const kx3_mpu *mpu) {
    return std::find_if(state.objects.begin(), state.objects.end(),
                        [mpu](const std::shared_ptr<kx3_mpu> &object) { return object.get() == mpu; });
}

/// The object lives until its call has ended, also when the host releases it from a callback.
std::shared_ptr<clsMPU> objectOf(kx3_mpu *mpu) {
    ThreadState &state = threadState();
    const auto found = findObject(state, mpu);
    if (found == state.objects.end())
        raise(ErrorNumber::objectNotSet, u"No entry object of this thread: released, or made on another thread");
    return {*found, &mpu->object};
}

} // namespace

extern "C" {

uint32_t kx3_abi_version(void) { return KX3_ABI_VERSION; }

const char *kx3_version(void) { return KX3_PRODUCT_VERSION; }

const char *kx3_last_error(void) {
    const char *text = "";
    (void)guarded([&] { text = threadState().lastError.c_str(); });
    return text;
}

void kx3_fail_with(const char *description) {
    (void)guarded([&] { threadState().callbacks.failure = description == nullptr ? "" : description; });
}

int32_t kx3_session_outcome(const char **explanation) {
    std::int32_t outcome = KX3_NEVER_RAN;
    const char *text = "";
    (void)guarded([&] {
        ThreadState &state = threadState();
        const SessionReport &report = state.apartment.report();
        outcome = static_cast<std::int32_t>(report.outcome);
        state.explanation = toUtf8(report.explanation);
        text = state.explanation.c_str();
    });
    if (explanation != nullptr) *explanation = text;
    return outcome;
}

kx3_status kx3_set_ui(const kx3_ui *ui) {
    return guarded([&] { threadState().callbacks.ui = ui == nullptr ? kx3_ui{} : copyOf(ui, u"ui"); });
}

kx3_status kx3_set_session_host(const kx3_session_host *host) {
    return guarded([&] {
        native::Callbacks &callbacks = threadState().callbacks;
        callbacks.sessionHost = host == nullptr ? kx3_session_host{} : copyOf(host, u"host");
        callbacks.hasSessionHost = host != nullptr;
    });
}

kx3_status kx3_observe_io(void (*observer)(void *context, const kx3_io_call *call), void *context) {
    return guarded([&] {
        threadState().callbacks.ioObserver = observer;
        threadState().callbacks.ioContext = context;
    });
}

kx3_status kx3_mpu_create(kx3_mpu **mpu) {
    return guarded([&] {
        kx3_mpu *&out = required(mpu, u"mpu");
        out = nullptr;
        ThreadState &state = threadState();
        state.objects.push_back(std::make_shared<kx3_mpu>(state.apartment));
        out = state.objects.back().get();
    });
}

void kx3_mpu_release(kx3_mpu *mpu) {
    if (mpu == nullptr) return;
    (void)guarded([&] {
        (void)objectOf(mpu);
        ThreadState &state = threadState();
        const std::shared_ptr<kx3_mpu> object = std::move(*findObject(state, mpu));
        std::erase(state.objects, nullptr);
    });
}

kx3_status kx3_mpu_get_buflg(kx3_mpu *mpu, int32_t *value) {
    return guarded([&] { required(value, u"value") = objectOf(mpu)->buflg; });
}

kx3_status kx3_mpu_put_buflg(kx3_mpu *mpu, int32_t value) {
    return guarded([&] { objectOf(mpu)->buflg = value; });
}

kx3_status kx3_mpu_get_exitpower(kx3_mpu *mpu, int16_t *value) {
    return guarded([&] { required(value, u"value") = objectOf(mpu)->exitpower.bits; });
}

kx3_status kx3_mpu_put_exitpower(kx3_mpu *mpu, int16_t value) {
    return guarded([&] { objectOf(mpu)->exitpower.bits = value; });
}

kx3_status kx3_mpu_runMpu6Prg(kx3_mpu *mpu, int16_t *usbenable) {
    return guarded([&] {
        (void)required(usbenable, u"usbenable");
        Boolean unused;
        objectOf(mpu)->runMpu6Prg(unused);
    });
}

kx3_status kx3_driver_describe(int16_t model_type, uint8_t selection, kx3_driver_info *info) {
    return guarded([&] {
        const ArmProfile *profile = armProfileOf(model_type, [selection] { return selection; });
        if (profile == nullptr) raise(ErrorNumber::notAvailable, u"No ARM driver serves this device");
        native::fill(info, u"info",
                     kx3_driver_info{.struct_size = {},
                                     .module = profile->module,
                                     .entry = profile->entry,
                                     .algorithm_folder = profile->algorithmFolder,
                                     .algorithm_extension = profile->algorithmExtension,
                                     .longest_algorithm = longestAlgorithm,
                                     .read_chunk = profile->readChunk,
                                     .program_chunk = profile->smallBlockProgramChunk,
                                     .large_program_chunk = profile->largeBlockProgramChunk,
                                     .large_block = largeBlock,
                                     .numbers_read_chunks = profile->readRequest == ReadRequest::oncePerChunk ? 1 : 0,
                                     .large_device = largeDevice,
                                     .end_rounding = endRounding});
    });
}

kx3_status kx3_mpu_mpu6warn(kx3_mpu *mpu, uint8_t *no) {
    return guarded([&] { objectOf(mpu)->mpu6warn(required(no, u"no")); });
}

kx3_status kx3_mpu_editfigmpu6(kx3_mpu *mpu) {
    return guarded([&] { objectOf(mpu)->editfigmpu6(); });
}

kx3_status kx3_mpu_bufcommpu6(kx3_mpu *mpu, int16_t *num) {
    return guarded([&] { objectOf(mpu)->bufcommpu6(required(num, u"num")); });
}

kx3_status kx3_mpu_freesharebuffermpu6(kx3_mpu *mpu) {
    return guarded([&] { objectOf(mpu)->freesharebuffermpu6(); });
}

kx3_status kx3_mpu_sinitmpu6(kx3_mpu *mpu) {
    return guarded([&] { objectOf(mpu)->sinitmpu6(); });
}

} // extern "C"
