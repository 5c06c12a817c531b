#include "record_library.h"

#include <srecord/input/file/intel.h>
#include <srecord/output/file/intel.h>

// The development package lacks the headers of these two classes. Nothing but their factories is
// needed, which the library exports.
namespace srecord {
class input_file_motorola {
  public:
    static boost::shared_ptr<input_file> create(const std::string &path);
};
class output_file_motorola {
  public:
    static boost::shared_ptr<output> create(const std::string &path);
};
} // namespace srecord

namespace kx3console {

boost::shared_ptr<srecord::input_file> openRecords(FileFormat format, const std::string &path) {
    return format == FileFormat::sRecord ? srecord::input_file_motorola::create(path)
                                         : srecord::input_file_intel::create(path);
}

boost::shared_ptr<srecord::output> createRecords(FileFormat format, const std::string &path) {
    return format == FileFormat::sRecord ? srecord::output_file_motorola::create(path)
                                         : srecord::output_file_intel::create(path);
}

} // namespace kx3console
