// The parts of libsrecord that read and write load files of records.
#pragma once

#include "file_format.h"

#include <boost/shared_ptr.hpp>
#include <srecord/input/file.h>
#include <srecord/output.h>
#include <string>

namespace kx3console {

/// A reader of `path` in a text format.
[[nodiscard]] boost::shared_ptr<srecord::input_file> openRecords(FileFormat format, const std::string &path);
/// A writer. It ends the process when it cannot write, so its file must be one that takes everything.
[[nodiscard]] boost::shared_ptr<srecord::output> createRecords(FileFormat format, const std::string &path);

} // namespace kx3console
