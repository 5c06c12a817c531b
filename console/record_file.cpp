#include "record_file.h"

#include "base/error.h"
#include "base/text.h"
#include "failure.h"
#include "platform/dynamic_library.h"

namespace kx3console {

namespace {

RecordFunctions functionsOf(const kx3::platform::DynamicLibrary &library) {
    RecordFunctions functions{};
    library.function<void(RecordFunctions *)>(recordFunctionsName)(&functions);
    return functions;
}

const RecordFunctions &module() {
    try {
        static const kx3::platform::DynamicLibrary library("mpu6records");
        static const RecordFunctions functions = functionsOf(library);
        return functions;
    } catch (const kx3::Error &error) {
        throw Failure(Exit::failed, "load files of records cannot be used: " + kx3::toUtf8(error.description()),
                      "Install libmpu6records.so beside mpu6, or use raw files.");
    }
}

} // namespace

RecordMessages readRecords(FileFormat format, const std::string &path, const RecordVisitor &visit) {
    return module().read(format, path, visit);
}

RecordWriter createRecords(FileFormat format, const std::string &path) { return module().create(format, path); }

} // namespace kx3console
