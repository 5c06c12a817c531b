// An ARM driver module with a scripted programmer, and algorithm files in a folder of its own.
#pragma once

#include "rig/apartment.h"
#include "rig/folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace kx3::test {

/// Status reports of one command, in the order in which they are polled. Then none comes any more.
using Reports = std::vector<Bytes>;

inline std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines)
        text += (text.empty() ? "" : "; ") + line;
    return text;
}

/// Lines of the log: elements of `prgnote` read "n0 ", operations "op0 ".
inline const std::string timeLine = ">> 0.00Sec\n";
inline const std::string aborted = "n12 \n" + timeLine;
inline const std::string stopped = "n4 \n" + timeLine;
inline std::string startLine(int operation) { return ">>n0 op" + std::to_string(operation) + " n1 \n"; }
inline std::string endLine(int operation, const char *note) {
    return ">>op" + std::to_string(operation) + ' ' + note + " \n" + timeLine;
}

enum class Module { arm32f, arm };

/// A host with a programmer that takes its status reports from a script and keeps what it receives.
class ArmRig {
  public:
    explicit ArmRig(Module module = Module::arm32f, Long bufferLength = 0x1000) : is32f(module == Module::arm32f) {
        t.attach(bufferLength);
        t.host.figvol(1) = 1;
        t.host.figmode(0) = 3;
        t.host.wsign(1) = version;
        t.host.usbpip2readresult(0) = 2;
        describe({});
        for (Long i = 0; i < 13; ++i)
            storeText(t.host.prgnote, i, u"n" + decimal(i) + u" ");
        for (Long i = 0; i < 20; ++i)
            storeText(t.host.MainmnuPrg, i, u"op" + decimal(i) + u" ");
        storeText(t.host.algorithm, 0, u" clock ");
        storeText(t.host.algorithm, 1, u" family ");
        storeText(t.host.algorithm, 2, u"  part");
        spill(general(), {1, 2, 3, 4});
        connect();
    }
    ArmRig(const ArmRig &) = delete;
    ArmRig &operator=(const ArmRig &) = delete;

    void describe(Device device) {
        device.model = is32f ? 80 : 40;
        t.describe(device);
    }
    [[nodiscard]] std::string general() const { return is32f ? "algo4/family/part.alg" : "algo/family/part.bin"; }
    [[nodiscard]] std::string clockSpecific() const { return is32f ? "algo4/clk/clock.alg" : "algo/clk/clock.bin"; }

    /// Run `operation` and give the log that it leaves.
    std::string run(Byte operation) {
        t.host.prgresult(1) = operation;
        storeText(t.host.MainRtstr, 0, {});
        traffic.clear();
        packets.clear();
        progress.clear();
        Boolean usbenable;
        t.mpu.runMpu6Prg(usbenable);
        return log();
    }
    [[nodiscard]] std::string log() const { return t.log(); }
    [[nodiscard]] Byte result() const { return t.host.prgresult(0); }
    [[nodiscard]] std::string failure() const { return toUtf8(t.apartment.sessionFailure()); }
    /// Run `operation` and compare what it leaves; `behindStart` is the log behind the start line.
    void expect(Byte operation, const std::string &behindStart, const std::string &calls, int resultCode = 0,
                const std::string &error = "") {
        EXPECT_EQ(run(operation), startLine(operation) + behindStart);
        EXPECT_EQ(operationTraffic(), calls);
        EXPECT_EQ(result(), resultCode);
        EXPECT_EQ(failure(), error);
        EXPECT_EQ(t.host.prgmode(1), 0);
    }
    /// What went on after the version query.
    [[nodiscard]] std::string operationTraffic() const {
        const auto query = std::find(traffic.begin(), traffic.end(), "34 1A 00 10 00/16");
        return query == traffic.end() ? "" : joined({query + 1, traffic.end()});
    }

    bool is32f;
    TestApartment t;
    /// Calls to the programmer and to the session host (without polls), in order.
    std::vector<std::string> traffic;
    std::vector<Bytes> packets; ///< all bytes of each packet
    /// Different values that the host saw in `prgmode`(1), in its message loop and its calls.
    std::vector<int> progress;

    // The script.
    std::deque<Reports> runs;    ///< one for each run command; without one it finishes at once
    std::deque<Reports> chipIds; ///< one for each reading of the chip's identity
    Byte version = 7;
    int stopAtReport = 0;                    ///< the host asks for a stop with this report of a run
    std::map<std::string, Integer> statuses; ///< results of calls other than 0
    std::deque<Byte> readStates;             ///< of the bulk reads to come; without one: 2
    bool spoilsReadBack = false;
    std::string failingCall; ///< this call of the session host or the programmer fails

  private:
    void connect() {
        t.sessionHost->onCall = [this](const std::string &call) {
            if (!call.starts_with("PollStatus")) (void)note(call);
        };
        t.sessionHost->onPoll = [this] { return poll(); };
        t.ui->onYield = [this] { yield(); };
        t.io.onComWrite = [this](Byte *packet, Long count) { return command(Bytes(packet, packet + count)); };
        t.io.onBulkWrite = [this](Byte *data, Long count) { return take(data, count); };
        t.io.onBulkRead = [this](Byte *data, Long count, Byte *state) { give(data, count, state); };
    }

    Integer note(const std::string &entry) {
        traffic.push_back(entry);
        look();
        if (entry == failingCall) raise(ErrorNumber::deviceIo, u"Cable unplugged");
        const auto found = statuses.find(entry);
        return found == statuses.end() ? Integer{0} : found->second;
    }

    void yield() {
        if (state_ != nullptr) {
            *state_ = readStates.empty() ? Byte{2} : readStates.front();
            if (!readStates.empty()) readStates.pop_front();
            state_ = nullptr;
        }
        look();
    }
    void look() {
        const int seen = t.host.prgmode(1);
        if (progress.empty() || progress.back() != seen) progress.push_back(seen);
    }

    bool poll() {
        if (pending_.empty()) return false;
        for (std::size_t i = 0; i < 13; ++i)
            t.host.ibuf1(static_cast<Long>(i)) = i < pending_.front().size() ? pending_.front()[i] : Byte{0};
        pending_.pop_front();
        if (++reportsOfRun_ == stopAtReport) t.host.prgresult(0) = 2;
        return true;
    }

    static std::size_t headLength(const Bytes &packet) {
        switch (packet[0]) {
        case 0x5A: return 2;
        case 0x33: return 3;
        case 0x0A: return 4;
        default: return packet.size() == 8 ? 2 : 5;
        }
    }

    Integer command(const Bytes &packet) {
        packets.push_back(packet);
        std::string entry;
        for (std::size_t i = 0; i < headLength(packet); ++i)
            entry += toUtf8(t.io.datstr(packet[i], 2)) + ' ';
        entry.back() = '/';
        const Integer status = note(entry + std::to_string(packet.size()));
        algorithmNext_ = packet[0] == 0x33;
        if (packet[0] == 0x34 && packet.size() == 16) start(packet[1]);
        return status;
    }

    void start(Byte code) {
        constexpr Byte versionQuery = 0x1A, programs[] = {1, 4, 7};
        const Long cleared = std::find(std::begin(programs), std::end(programs), code) != std::end(programs) ? 3 : 2;
        for (Long i = 0; i < cleared && code != versionQuery; ++i)
            EXPECT_EQ(t.host.ibuf1(i), 0) << "the former report is wiped before command " << int{code};
        Reports reports;
        if (code == versionQuery)
            reports = {{100, 0, version}};
        else
            reports = next(code == 0x1D ? chipIds : runs);
        pending_.assign(reports.begin(), reports.end());
        reportsOfRun_ = code == versionQuery ? -1000 : 0;
    }
    static Reports next(std::deque<Reports> &script) {
        if (script.empty()) return {{100}};
        Reports reports = script.front();
        script.pop_front();
        return reports;
    }

    std::string place(const Byte *data) {
        const sharemap &blocks = t.apartment.blocks();
        if (data == &blocks.ibuf2(0)) return "ibuf2";
        const auto offset = data - &blocks.ibuffer(0);
        return "ibuffer+" + std::to_string(offset);
    }

    Integer take(const Byte *data, Long count) {
        if (!algorithmNext_) return note(place(data) + " -> " + std::to_string(count));
        algorithm_.assign(data, data + count);
        return note("algorithm -> " + std::to_string(count));
    }

    void give(Byte *data, Long count, Byte *state) {
        EXPECT_EQ(*state, 0) << "the completion state is wiped before a read";
        (void)note((algorithmNext_ ? "algorithm" : place(data)) + " <- " + std::to_string(count));
        for (Long i = 0; i < count; ++i)
            data[i] = static_cast<Byte>(i + 1);
        if (algorithmNext_) std::copy(algorithm_.begin(), algorithm_.end(), data);
        if (algorithmNext_ && spoilsReadBack) ++data[count - 2];
        state_ = state;
    }

    Workplace workplace_;
    Bytes algorithm_;
    bool algorithmNext_ = false;
    Byte *state_ = nullptr;
    std::deque<Bytes> pending_;
    int reportsOfRun_ = 0;
};

} // namespace kx3::test
