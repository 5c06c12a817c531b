// The Qt application that everything drawn needs.
#pragma once

namespace kx3qt {

/// Use the process's QApplication, or make one. Null when there is one; otherwise why there is none,
/// UTF-8, good until the next call.
const char *startApplication();

} // namespace kx3qt
