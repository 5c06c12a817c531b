// Cases as data: a file of JSON lines, each line a whole case. See README.md for what they hold.
#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace kx3::test {

using Json = nlohmann::json;
using Bytes = std::vector<std::uint8_t>;

/// One case, and where it stands.
class Case {
  public:
    Case(std::string file, int line, Json data) : file_(std::move(file)), line_(line), data_(std::move(data)) {}

    /// The value of `key`; raises an error when there is none.
    [[nodiscard]] const Json &operator[](const char *key) const { return data_.at(key); }
    /// The value of `key`, or null.
    [[nodiscard]] Json value(const char *key) const { return data_.value(key, Json()); }

    /// Fail in one line that names the case, unless both sides are the same.
    void expect(const std::string &what, const Json &expected, const Json &came) const {
        if (expected == came) return;
        ADD_FAILURE_AT(file_.c_str(), line_)
            << name() << ": " << what << ": expected " << expected << ", came " << came;
    }
    /// The same for the content of a buffer, by the first byte that differs.
    void expectBytes(const Bytes &expected, std::span<const std::uint8_t> came) const {
        expect("bytes of the buffer", expected.size(), came.size());
        const auto [wanted, found] = std::ranges::mismatch(expected, came);
        if (wanted != expected.end() && found != came.end())
            expect("byte " + std::to_string(wanted - expected.begin()), *wanted, *found);
    }
    /// The same for the status of a call, in which 0 stands for no error.
    void expectError(const Json &kind, int number) const {
        const Json numbers = {{"subscript", 9}, {"overflow", 6}, {"divzero", 11},
                              {"text", 326},    {"lookup", 326}, {"outside", 440}};
        expect("number of the error", kind.is_null() ? Json(0) : numbers.value(kind, Json(kind)), number);
    }

  private:
    [[nodiscard]] std::string name() const {
        std::string text;
        for (const char *key : {"id", "dialog", "no", "prgmode", "tlength", "language"})
            if (data_.contains(key)) text += std::string(text.empty() ? "" : ", ") + key + ' ' + data_.at(key).dump();
        return text;
    }

    std::string file_;
    int line_;
    Json data_;
};

/// Make a test of each case in tests/corpus/`file`.
inline bool registerCases(const char *suite, const std::string &file, void (*play)(const Case &)) {
    class Player final : public testing::Test {
      public:
        Player(std::shared_ptr<const Case> data, void (*play)(const Case &)) : data_(std::move(data)), play_(play) {}
        void TestBody() override { play_(*data_); }

      private:
        std::shared_ptr<const Case> data_;
        void (*play_)(const Case &);
    };
    const std::string path = KX3_CORPUS "/" + file;
    std::ifstream lines(path);
    std::string line;
    int number = 0;
    while (std::getline(lines, line)) {
        auto data = std::make_shared<const Case>(path, ++number, Json::parse(line));
        testing::RegisterTest(suite, ("line_" + std::to_string(number)).c_str(), nullptr, nullptr, path.c_str(), number,
                              [data, play]() -> testing::Test * { return new Player(data, play); });
    }
    if (number == 0) throw std::runtime_error("no cases in " + path);
    return true;
}

/// Bytes of "e0e1e2".
inline Bytes fromHexText(std::string_view digits) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16)));
    return bytes;
}

/// `content`, over which the [first place, "hex digits"] of `pieces` are laid.
inline Bytes withPieces(Bytes content, const Json &pieces) {
    for (const Json &piece : pieces)
        std::ranges::copy(fromHexText(piece.at(1).get_ref<const std::string &>()),
                          content.begin() + piece.at(0).get<std::ptrdiff_t>());
    return content;
}

} // namespace kx3::test
