// An ARM driver with a scripted programmer.
#pragma once

#include "rig/apartment.h"
#include "rig/folder.h"

#include <gtest/gtest.h>

#include <map>

namespace kx3::test {

/// Status reports of one command, in the order in which they are polled. Then none comes any more.
using Reports = std::vector<Bytes>;

/// Lines of the log: elements of `prgnote` read "n0 ", operations "op0 ".
inline const std::string timeLine = ">> 0.00Sec\n";
inline const std::string aborted = "n12 \n" + timeLine;
inline std::string startLine(int operation) { return ">>n0 op" + std::to_string(operation) + " n1 \n"; }
inline std::string endLine(int operation, const char *note) {
    return ">>op" + std::to_string(operation) + ' ' + note + " \n" + timeLine;
}

/// A host with a programmer that takes its status reports from a script.
class ArmRig : public Workplace, public TestApartment {
  public:
    explicit ArmRig(const Device &device = {}, Long bufferLength = 0x1000) {
        attach(bufferLength);
        describe(device);
        for (Long i = 0; i < 13; ++i)
            storeText(host.prgnote, i, u"n" + decimal(i) + u" ");
        for (Long i = 0; i < 20; ++i)
            storeText(host.MainmnuPrg, i, u"op" + decimal(i) + u" ");
        host.wsign(1) = 1;
        storeText(host.algorithm, 0, u" clock ");
        storeText(host.algorithm, 1, u" family ");
        storeText(host.algorithm, 2, u"  device");
        connect();
    }

    /// Run `operation` and give the log that it leaves.
    std::string run(Byte operation) {
        traffic.clear();
        progress.clear();
        TestApartment::run(operation);
        return log();
    }
    /// Run `operation` and compare what it leaves; `behindStart` is the log behind the start line.
    void expect(Byte operation, const std::string &behindStart, const std::string &calls,
                const std::string &error = "") {
        EXPECT_EQ(run(operation), startLine(operation) + behindStart);
        EXPECT_EQ(operationTraffic(), calls);
        EXPECT_EQ(failure(), error);
        EXPECT_EQ(host.prgmode(1), 0);
    }
    [[nodiscard]] std::string failure() const { return toUtf8(apartment.report().failure); }
    /// What went on after the version query.
    [[nodiscard]] std::string operationTraffic() const {
        auto call = std::ranges::find(traffic, "34 1A 00 10 00/16");
        std::string text;
        while (call != traffic.end() && ++call != traffic.end())
            text += (text.empty() ? "" : "; ") + *call;
        return text;
    }

    /// Calls to the programmer and to the session host (without polls), in order.
    std::vector<std::string> traffic;
    /// Different values that the host saw in `prgmode`(1) when it was called.
    std::vector<int> progress;

    // The script.
    std::deque<Reports> runs;                ///< one for each command; without one it finishes at once
    std::map<std::string, Integer> statuses; ///< results of calls other than 0
    std::deque<Byte> readStates;             ///< of the bulk reads to come; without one: 2

  private:
    void connect() {
        sessionHost->onCall = [this](const std::string &call) {
            if (!call.starts_with("PollStatus")) (void)note(call);
        };
        sessionHost->onPoll = [this] { return poll(); };
        ui->onYield = [this] { yield(); };
        io.onComWrite = [this](const Byte *packet, Long count) { return command(packet, count); };
        io.onBulkWrite = [this](const Byte *data, Long count) {
            if (place(data) == "algorithm") algorithm_.assign(data, data + count);
            return note(place(data) + " -> " + std::to_string(count));
        };
        io.onBulkRead = [this](Byte *data, Long count, Byte *state) {
            (void)note(place(data) + " <- " + std::to_string(count));
            state_ = state;
            if (place(data) == "algorithm") std::ranges::copy(algorithm_, data);
        };
    }

    Integer note(const std::string &entry) {
        traffic.push_back(entry);
        look();
        const auto found = statuses.find(entry);
        return found == statuses.end() ? Integer{0} : found->second;
    }
    void look() {
        const int seen = host.prgmode(1);
        if (progress.empty() || progress.back() != seen) progress.push_back(seen);
    }
    void yield() {
        look();
        if (state_ == nullptr) return;
        *state_ = readStates.empty() ? Byte{2} : readStates.front();
        if (!readStates.empty()) readStates.pop_front();
        state_ = nullptr;
    }
    bool poll() {
        if (pending_.empty()) return false;
        pending_.front().resize(13);
        std::ranges::copy(pending_.front(), host.ibuf1.range(0, 13).begin());
        pending_.pop_front();
        return true;
    }

    /// The bytes of a packet that are not the device's configuration, and its length.
    Integer command(const Byte *packet, Long count) {
        const std::map<Byte, int> heads = {{0x5A, 2}, {0x33, 3}, {0x0A, 4}};
        const int head = heads.contains(packet[0]) ? heads.at(packet[0]) : count == 8 ? 2 : 5;
        std::string entry;
        for (int i = 0; i < head; ++i)
            entry += toUtf8(io.datstr(packet[i], 2)) + (i + 1 < head ? ' ' : '/');
        if (packet[0] == 0x34 && count == 16) start(packet[1]);
        return note(entry + std::to_string(count));
    }
    void start(Byte code) {
        constexpr Byte versionQuery = 0x1A;
        const bool programs = code == 1 || code == 4 || code == 7;
        for (Long i = 0; i < (programs ? 3 : 2) && code != versionQuery; ++i)
            EXPECT_EQ(host.ibuf1(i), 0) << "the last report is wiped before command " << int{code};
        pending_ = {{100, 0, host.wsign(1)}};
        if (code == versionQuery || runs.empty()) return;
        pending_.assign(runs.front().begin(), runs.front().end());
        runs.pop_front();
    }
    std::string place(const Byte *data) {
        sharemap &blocks = apartment.blocks();
        if (data == &blocks.ibuf2(0)) return "ibuf2";
        const auto offset = data - &blocks.ibuffer(0);
        const bool inBuffer = offset >= 0 && offset < static_cast<std::ptrdiff_t>(blocks.ibuffer.count());
        return inBuffer ? "ibuffer+" + std::to_string(offset) : "algorithm";
    }

    Bytes algorithm_;
    Byte *state_ = nullptr;
    std::deque<Bytes> pending_;
};

} // namespace kx3::test
