#include "display.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>

namespace kx3console {
namespace {

/// What a display writes during `action`.
template <class Action> std::string shown(const Display::Settings &settings, Action action) {
    char *text = nullptr;
    std::size_t size = 0;
    std::FILE *stream = open_memstream(&text, &size);
    {
        Display display(stream, settings);
        action(display);
    }
    std::fclose(stream);
    const std::unique_ptr<char, void (*)(void *)> owner(text, std::free);
    return {text, size};
}

void runUp(Display &display, std::initializer_list<int> values) {
    for (const int percent : values)
        display.progress("Program", percent);
    display.endProgress();
}

TEST(Display, AlwaysInAPipeWritesALineForEachTenPercentOfAStage) {
    const auto text = shown({.progress = ProgressMode::always}, [](Display &display) {
        runUp(display, {0, 5, 9, 10, 11, 19, 35, 34, 100, 100});
        runUp(display, {0, 95, 99, 3, 12, 11, 100});
        runUp(display, {0, 50});
    });
    EXPECT_EQ(text, "Program 10 %\nProgram 35 %\nProgram 100 %\n"
                    "Program 95 %\nProgram 12 %\nProgram 100 %\n"
                    "Program 50 %\n");
}

TEST(Display, RedrawsNoMoreThanNeeded) {
    const auto text = shown({.terminal = true}, [](Display &display) {
        for (int percent = 0; percent < 100; ++percent)
            for (int poll = 0; poll < 100; ++poll)
                display.progress("Program", percent);
    });
    // At most one drawing each 50 ms; the loop takes far less than a second.
    EXPECT_LT(text.size(), std::size_t{20} * 60);
    EXPECT_TRUE(text.starts_with("\r\x1B[KProgram [.......")) << text;
}

TEST(Display, MessagesStandAboveTheBar) {
    const auto text = shown({.terminal = true}, [](Display &display) {
        display.progress("P", 100);
        display.message("hello");
        display.endProgress();
    });
    const std::string bar = "\r\x1B[KP [" + std::string(30, '#') + "] 100 %";
    EXPECT_EQ(text, bar + "\r\x1B[Khello\n" + bar + "\r\x1B[K");
}

} // namespace
} // namespace kx3console
