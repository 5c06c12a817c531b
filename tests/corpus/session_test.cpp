// Plays sessions on the engine: every call that leaves it is compared with the case, and answered by it.
#include "corpus/corpus.h"
#include "rig/apartment.h"
#include "rig/folder.h"

namespace kx3::test {
namespace {

constexpr ErrorNumber outsideError = ErrorNumber::automation;

/// `length` bytes of content number `seed`, from byte `first` on.
Bytes content(std::uint32_t seed, std::uint32_t first, std::uint32_t length) {
    Bytes bytes(length);
    for (Byte &byte : bytes) {
        std::uint32_t x = first++ * 0x9E3779B1U + seed * 0x85EBCA77U + 0x165667B1U;
        x = (x ^ x >> 15) * 0x2C1B3C6DU;
        byte = static_cast<Byte>(x ^ x >> 12);
    }
    return bytes;
}
/// `bytes` with the changes of a "patch" in `source`.
Bytes patched(Bytes bytes, const Json &source) {
    for (const Json &change : source.value("patch", Json::array()))
        bytes.at(change.at(0).get<std::size_t>()) = change.at(1);
    return bytes;
}

std::string crcOf(std::span<const Byte> bytes) {
    std::uint32_t state = 0xFFFFFFFFU;
    for (const Byte byte : bytes) {
        state ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            state = state >> 1 ^ ((state & 1) != 0 ? 0xEDB88320U : 0);
    }
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", ~state);
    return digits;
}
std::string hexText(std::span<const Byte> bytes) {
    std::string text;
    for (const Byte byte : bytes)
        text += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
    return text;
}

/// Put `value` into element `index` of block `root`: a number, a text, or "hex:.." for a run of bytes.
void store(sharemap &blocks, const std::string &root, Long index, const Json &value) {
    const auto put = [&]<class T>(Array<T> &block) {
        if constexpr (std::is_same_v<T, String>) {
            storeText(block, index, fromUtf8(value.get<std::string>()));
        } else if constexpr (std::is_same_v<T, Boolean>) {
            block(index).bits = value;
        } else {
            if (value.is_number()) block(index) = value;
            if (!value.is_string()) return;
            for (const Byte byte : fromHexText(value.get<std::string>().substr(4)))
                block(index++) = byte;
        }
    };
#define KX3_BLOCK(member, name, type, count, bytes)                                                                    \
    if (root == (name)) put(blocks.member);
#include "blocks/block_table.inc"
#undef KX3_BLOCK
}

/// A call to CompareByte, or to CompareWord with its mask.
struct Compare {
    std::string_view name;
    Long address;
    Long mode;
    std::optional<Long> mask;
    bool operator==(const Compare &) const = default;

    [[nodiscard]] Json asRun(Long count, const std::string &sum) const {
        if (mask) return {"cmp", name, address, mode, *mask, count, sum};
        return {"cmp", name, address, mode, count, sum};
    }
};

/// The calls of one session in their order. After the first that differs, every call fails.
class Tape {
  public:
    Tape(const Case &c, sharemap &host) : case_(c), calls_(c["tape"]), host_(host) {}

    /// The engine makes call `came`; gives what the case says about it.
    const Json &play(const Json &came) {
        const Json &call = next(came);
        expect(call.at("c"), came);
        if (call.contains("see")) expect(call.at("see"), seen());
        return finish(call);
    }
    /// One of the compares that stand in one entry: their addresses follow each other, and the data are summed up.
    const Json &compare(Compare came, std::span<const Byte> data) {
        const Json &call = next(came.name);
        const Json &run = call.at("c");
        if (compared_ == 0) run_ = came;
        came.address -= compared_++;
        data_.insert(data_.end(), data.begin(), data.end());
        if (came == run_ && run.at(0) == "cmp" && compared_ < run.at(run.size() - 2)) return goOn_;
        expect(run, came.asRun(std::exchange(compared_, 0), crcOf(std::exchange(data_, {}))));
        return finish(call);
    }
    /// Whether no call differed.
    [[nodiscard]] bool isPlayed() const {
        if (!differs_) case_.expect("number of calls", calls_.size(), position_);
        return !differs_;
    }

  private:
    const Json &next(const Json &came) {
        if (!differs_ && position_ == calls_.size()) expect(nullptr, came);
        if (differs_) raise(ErrorNumber::internal);
        return calls_[position_];
    }
    void expect(const Json &wanted, const Json &came) {
        if (wanted == came) return;
        case_.expect("call " + std::to_string(position_), wanted, came);
        differs_ = true;
        raise(ErrorNumber::internal);
    }
    const Json &finish(const Json &call) {
        ++position_;
        for (const Json &change : call.value("set", Json::array()))
            store(host_, change.at(0), change.at(1), change.at(2));
        if (call.contains("raise")) raise(outsideError, fromUtf8(call.at("raise").get<std::string>()));
        return call;
    }
    Json seen() const {
        return {host_.prgmode(1), host_.prgmode(2), host_.prgresult(0), readText(host_.MainRtstr, 0).size()};
    }

    const Case &case_;
    const Json &calls_;
    sharemap &host_;
    std::size_t position_ = 0;
    Compare run_{};
    Long compared_ = 0;
    Bytes data_; ///< of the compares that stand in one entry
    bool differs_ = false;
    const Json goOn_ = Json::object();
};

template <class T> T answer(const Json &call) {
    const Json value = call.value("ret", Json(0));
    return static_cast<T>(value.is_boolean() ? Long{value.get<bool>()} : value.get<Long>());
}

class TapeHost final : public SessionHost {
  public:
    explicit TapeHost(Tape &tape) : tape_(tape) {}

#define KX3_OPERATION(name, result, parameters, arguments)                                                             \
    result name parameters override {                                                                                  \
        const auto call = [this](auto... values) { return play(#name, values...); };                                   \
        return static_cast<result>(call arguments);                                                                    \
    }
#include "outside/session_host_operations.inc"

  private:
    template <class... Arguments> Long play(const char *name, Arguments... arguments) {
        return answer<Long>(tape_.play({"host", name, arguments...}));
    }
    Long play(const char *name, Byte data, Long address, Long mode) {
        return answer<Long>(tape_.compare({name, address, mode, {}}, {{data}}));
    }
    Long play(const char *name, Byte low, Byte high, Long address, Long mode, Long mask) {
        return answer<Long>(tape_.compare({name, address, mode, mask}, {{low, high}}));
    }
    Tape &tape_;
};

class TapeUi final : public Ui {
  public:
    explicit TapeUi(Tape &tape) : tape_(tape) {}
    MessageBoxResult messageBox(std::u16string_view prompt, Long style,
                                std::optional<std::u16string_view> title) override {
        const Json caption = title ? Json(toUtf8(*title)) : Json();
        return answer<MessageBoxResult>(tape_.play({"msgbox", toUtf8(prompt), style, caption}));
    }
    void yield() override { tape_.play({"yield"}); }
    void showModal(Form & /*form*/) override { tape_.play({"form"}); }

  private:
    Tape &tape_;
};

/// Gives the readings of a case one by one; the last one repeats.
class TapeClock final : public Clock {
  public:
    explicit TapeClock(const Json &readings) : readings_(readings) {}
    float secondsSinceMidnight() override { return readings_.at(std::min(count++, readings_.size() - 1)); }
    std::size_t count = 0;

  private:
    const Json &readings_;
};

using TapeApartment = ApartmentOn<FakeProgrammerIo, TapeHost, TapeUi, TapeClock>;

/// The plug-in between a host's blocks and the tape of a case.
class RecordedSession : Workplace, TapeApartment {
  public:
    explicit RecordedSession(const Case &c)
        : TapeApartment(std::make_shared<TapeHost>(tape_), std::make_unique<FakeProgrammerIo>(),
                        std::make_unique<TapeUi>(tape_), std::make_unique<TapeClock>(c["inputs"].at("clock"))),
          case_(c), tape_(c, host) {
        connectProgrammer();
        const Json &inputs = c["inputs"];
        attach(inputs.at("buflength").get<Long>());
        for (const auto &[root, values] : inputs.at("blocks").items())
            for (const auto &[index, value] : values.items())
                store(host, root, std::stoi(index), value);
        setBuffer(content(inputs.at("ibuffer").at("seed"), 0, host.ibuffer.count()));
        const Json files = inputs.value("files", Json::object());
        for (const auto &[path, file] : files.items())
            writeFile(path.substr(1), file);
    }

    void run() {
        int error = 0;
        Boolean usbenable;
        try {
            mpu.runMpu6Prg(usbenable);
        } catch (const Error &raised) {
            error = static_cast<int>(raised.number());
        }
        if (tape_.isPlayed()) expectFinal(case_["final"], error);
    }

  private:
    void connectProgrammer() {
        io.onComWrite = [this](const Byte *packet, Long count) {
            return answer<Integer>(tape_.play({"com", count, hexText({packet, static_cast<std::size_t>(count)})}));
        };
        io.onBulkWrite = [this](const Byte *data, Long count) {
            const auto [block, offset] = place(data);
            const std::string sum = crcOf({data, static_cast<std::size_t>(count)});
            return answer<Integer>(tape_.play({"bulkwrite", block, offset, count, sum}));
        };
        io.onBulkRead = [this](Byte *destination, Long count, const Byte *state) {
            case_.expect("state of a bulk read that starts", 0, *state);
            const auto [block, offset] = place(destination);
            const Json &call = tape_.play({"bulkread", block, offset, count});
            Bytes data;
            for (const Json &piece : call.at("data")) {
                const Bytes more = piece.at(0) == "hex" ? fromHexText(piece.at(1).get<std::string>())
                                                        : content(piece.at(1), piece.at(2), piece.at(3));
                data.insert(data.end(), more.begin(), more.end());
            }
            std::ranges::copy(patched(data, call), destination);
        };
    }
    /// The block of the plug-in that an address lies in, and where.
    std::pair<std::string, std::ptrdiff_t> place(const Byte *address) {
        sharemap &blocks = apartment.blocks();
        for (const auto &[name, block] :
             {std::pair("algobuf", &blocks.algobuf), {"ibuffer", &blocks.ibuffer}, {"ibuf2", &blocks.ibuf2}})
            if (address >= &(*block)(0) && address < &(*block)(0) + block->count())
                return {name, address - &(*block)(0)};
        return {"local", 0};
    }
    static void writeFile(std::string path, const Json &file) {
        std::ranges::replace(path, '\\', '/');
        const Bytes bytes = patched(content(file.at("seed"), 0, file.at("len")), file);
        spill(path, {bytes.begin(), bytes.end()});
    }
    void expectFinal(const Json &wanted, int error) {
        case_.expectError(wanted.at("raised"), error);
        const Json came = {{"raised", wanted.at("raised")},
                           {"MainRtstr0", log()},
                           {"MainRtstr1", toUtf8(readText(host.MainRtstr, 1))},
                           {"prgresult0", host.prgresult(0)},
                           {"prgmode1", host.prgmode(1)},
                           {"prgmode2", host.prgmode(2)},
                           {"ubuflg0", host.ubuflg(0)},
                           {"ibuf1", hexText(host.ibuf1.range(0, 20))},
                           {"ibuffer_len", host.ibuffer.count()},
                           {"ibuffer_crc", crcOf(data())},
                           {"ibuffer_config", hexText(host.ibuffer.range(host.buflength(0), 16))},
                           {"clock_reads", clock->count}};
        for (const auto &[name, value] : wanted.items())
            case_.expect(name + " in the end", value, came.value(name, Json()));
    }

    const Case &case_;
    Tape tape_;
};

const bool registered = registerCases("Sessions", "sessions.jsonl", [](const Case &c) { RecordedSession(c).run(); });

} // namespace
} // namespace kx3::test
