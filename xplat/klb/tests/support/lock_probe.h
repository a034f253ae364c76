#ifndef KLB_TESTS_SUPPORT_LOCK_PROBE_H
#define KLB_TESTS_SUPPORT_LOCK_PROBE_H

#include "klb.h"

#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace klb::test {

/// Whether another thread gets through a call of the library. The thread is left to itself when it
/// does not, so that a lock that was never released fails the test instead of hanging it.
inline bool lockIsFree() {
    const auto entered = std::make_shared<std::promise<void>>();
    std::future<void> done = entered->get_future();
    std::thread caller([entered] {
        KLB_IsInitialized();
        entered->set_value();
    });
    const bool isFree = done.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    if (isFree) {
        caller.join();
    } else {
        caller.detach();
    }
    return isFree;
}

} // namespace klb::test

#endif
