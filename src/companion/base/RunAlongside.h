#pragma once

#include <system_error>
#include <thread>

// Runs side() on a second thread while main() runs on this one, when the work
// is worth a thread; otherwise, or when no thread can be started, one after
// the other. Returns when both are done. The two must not share mutable state.
template <class Side, class Main> void runAlongside(bool worthAThread, Side&& side, Main&& main) {
    std::jthread helper;
    if (worthAThread) {
        try {
            helper = std::jthread([&side] { side(); });
        } catch (const std::system_error&) {
        }
    }
    if (!helper.joinable())
        side();
    main();
}
