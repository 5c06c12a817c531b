// libmpu6records.so: files of records through libsrecord.

#include "record_file.h"

#include <algorithm>
#include <array>
#include <boost/shared_ptr.hpp>
#include <cstdarg>
#include <cstdio>
#include <srecord/input/file/intel.h>
#include <srecord/output/file/intel.h>
#include <srecord/quit.h>
#include <srecord/record.h>
#include <string_view>
#include <utility>

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

namespace {

constexpr int lineLength = 80;

struct KindRow {
    RecordKind kind;
    srecord::record::type_t type;
};
constexpr std::array kinds{
    KindRow{RecordKind::header, srecord::record::type_header},
    KindRow{RecordKind::data, srecord::record::type_data},
    KindRow{RecordKind::startAddress, srecord::record::type_execution_start_address},
};

/// S-records need neither; that a file is whole is seen from its end.
bool isHarmless(std::string_view message) {
    return message.ends_with("no header record") || message.ends_with("no execution start address record");
}

/// Leaves a reader that has met an error.
struct ReadingEnds {};

/// Takes the library's messages. An error ends the reading; a second one, from a destructor that
/// runs meanwhile, is let go.
class Quitter final : public srecord::quit {
  public:
    explicit Quitter(const std::string &path) : path_(path) {}

    [[gnu::format(printf, 2, 0)]] void message_v(const char *format, std::va_list arguments) override {
        std::array<char, 512> text{};
        static_cast<void>(std::vsnprintf(text.data(), text.size(), format, arguments));
        last_ = text.data();
        if (last_.starts_with(path_)) last_.erase(0, path_.size());
        if (messages_.warning.empty() && last_.find("warning: ") != std::string::npos && !isHarmless(last_))
            messages_.warning = last_;
    }

    void exit(int /*status*/) override {
        if (!messages_.error.empty()) return;
        messages_.error = last_;
        throw ReadingEnds();
    }

    [[nodiscard]] RecordMessages &messages() { return messages_; }

  private:
    const std::string &path_;
    std::string last_ = ": unreadable";
    RecordMessages messages_;
};

RecordMessages read(FileFormat format, const std::string &path, const RecordVisitor &visit) {
    Quitter quitter(path);
    try {
        const auto reader = format == FileFormat::sRecord ? srecord::input_file_motorola::create(path)
                                                          : srecord::input_file_intel::create(path);
        reader->set_quit(quitter);
        srecord::record record;
        while (reader->read(record))
            for (const KindRow &row : kinds)
                if (row.type == record.get_type())
                    visit({row.kind, record.get_address(), {record.get_data(), record.get_length()}});
    } catch (const ReadingEnds &) {
    }
    return std::move(quitter.messages());
}

RecordWriter create(FileFormat format, const std::string &path) {
    const auto output = format == FileFormat::sRecord ? srecord::output_file_motorola::create(path)
                                                      : srecord::output_file_intel::create(path);
    output->line_length_set(lineLength);
    return [output](const Record &record) {
        for (const KindRow &row : kinds)
            if (row.kind == record.kind)
                output->write(srecord::record(row.type, static_cast<srecord::record::address_t>(record.address),
                                              record.bytes.data(), record.bytes.size()));
    };
}

} // namespace

} // namespace kx3console

// Linkage by name only; both sides are C++.
extern "C" __attribute__((visibility("default"))) void
kx3console_record_functions(kx3console::RecordFunctions *functions) {
    *functions = {kx3console::read, kx3console::create};
}
