// Work on many items by several threads.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <thread>
#include <vector>

namespace vorlandi::cli {

// Calls work(i) for each i below `count`; each thread takes the next one. When all are done, rethrows the exception of
// the first one that failed.
template <typename Work>
void inParallel(std::size_t count, unsigned threadCount, const Work& work) {
    std::atomic<std::size_t> next = 0;
    std::vector<std::exception_ptr> failures(count);
    const auto run = [&] {
        for (std::size_t i; (i = next++) < count;)
            try {
                work(i);
            } catch (...) {
                failures[i] = std::current_exception();
            }
    };
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 1; i < std::min<std::size_t>(threadCount, count); ++i)
            threads.emplace_back(run);
        run();
    }
    for (const std::exception_ptr& failure : failures)
        if (failure) std::rethrow_exception(failure);
}

}  // namespace vorlandi::cli
