#include "context/session_report.h"

#include "base/text.h"

namespace kx3 {

void SessionReport::endWithResult(ResultCode result) {
    switch (result) {
    case ResultCode::passed:
        if (differs) return end(SessionOutcome::failed, u"A comparison found a difference");
        explanation.clear();
        return end(SessionOutcome::passed, {});
    case ResultCode::failed: return end(SessionOutcome::failed, u"The operation failed");
    case ResultCode::stopped: return end(SessionOutcome::stopped, u"Stopped");
    case ResultCode::error: return end(SessionOutcome::error, u"A transfer failed");
    case ResultCode::algorithmFile: return end(SessionOutcome::error, algorithmFileError);
    }
    end(SessionOutcome::failed, join(u"The operation left result code ", decimal(static_cast<Long>(result))));
}

} // namespace kx3
