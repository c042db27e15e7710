#include "tools/applypatch/cores.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace Refloom::Patch {

int machineCores() { return int(std::max(1u, std::thread::hardware_concurrency())); }

void forEachOnThreads(std::size_t count, int threads, std::function<void(std::size_t)> const& work) {
    std::atomic<std::size_t> next{0};
    std::exception_ptr failure;
    std::mutex lock;
    auto worker = [&] {
        for (std::size_t i; (i = next++) < count;) {
            try {
                work(i);
            } catch (...) {
                std::lock_guard guard(lock);
                if (!failure) failure = std::current_exception();
                next = count;
            }
        }
    };
    std::vector<std::thread> helpers;
    for (std::size_t t = 1; t < std::min(std::size_t(std::max(1, threads)), count); ++t) helpers.emplace_back(worker);
    worker();
    for (std::thread& helper : helpers) helper.join();
    if (failure) std::rethrow_exception(failure);
}

} // namespace Refloom::Patch
