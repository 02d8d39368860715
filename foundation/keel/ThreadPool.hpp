#pragma once
// A fixed number of named threads that run tasks; stands on nothing.

#include <keel/export.hpp>

#include <functional>
#include <future>
#include <memory>
#include <string>

namespace Keel {

/// Runs tasks on up to a given number of threads, in the order in which they were handed in.
///
/// A thread is made when a task finds no idle one, so a pool without work costs nothing. With 0
/// threads, or if the system gives none, tasks run at once in the thread that hands them in.
///
/// At the end of the pool the running tasks are waited for. Tasks that have not started are
/// dropped: their futures then throw std::future_error (broken_promise), nobody waits forever.
///
/// All operations may be called from several threads at once, tasks included; a task may even
/// end the pool that runs it.
class KEEL_EXPORT ThreadPool {
public:
    /// The threads carry the first 15 bytes of `name`, which debuggers show.
    ThreadPool(unsigned long long threads, const std::string& name);
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    /// Ends the threads, see endThreads().
    virtual ~ThreadPool();

    /// Hands in a task. The future waits for its end, and throws what the task has thrown.
    std::future<void> submit(std::function<void()> task);

    /// Hands in a task that nobody waits for. What it throws is reported on standard error.
    void post(std::function<void()> task);

    /// Drops the tasks that have not started, waits for the running ones, and ends all threads;
    /// tasks handed in later are dropped. For derived classes, whose own destructor must call it
    /// if tasks use their members.
    void endThreads();

    /// Number of threads that have been made so far.
    unsigned long long startedThreads() const;

private:
    struct State;

    std::shared_ptr<State> _state; // shared with the threads: one may outlive the pool it ends
};

} // namespace Keel
