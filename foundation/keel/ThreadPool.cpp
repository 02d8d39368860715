#include <keel/ThreadPool.hpp>

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <pthread.h>

namespace Keel {

namespace {

using Task = std::function<void()>;

void runGuarded(const Task& task, const std::string& poolName) {
    try {
        task();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ThreadPool: \"%s\": a task ended with the exception: %s\n",
                     poolName.c_str(), error.what());
    } catch (...) {
        std::fprintf(stderr, "ThreadPool: \"%s\": a task ended with an unknown exception\n",
                     poolName.c_str());
    }
}

} // namespace

struct ThreadPool::State {
    State(unsigned long long maximumThreads, const std::string& poolName)
        : maximum(maximumThreads), name(poolName) {}

    const unsigned long long maximum;
    const std::string name;

    mutable std::mutex mutex; // guards all below
    std::condition_variable wakeUp;
    std::deque<Task> tasks;
    std::vector<std::thread> threads;
    unsigned long long started = 0;
    unsigned long long idle = 0;
    bool ended = false;

    static void work(const std::shared_ptr<State>& state);
    static void handIn(std::shared_ptr<State> state, Task task);
    static bool addThread(const std::shared_ptr<State>& state);
};

void ThreadPool::State::work(const std::shared_ptr<State>& state) {
    ::pthread_setname_np(::pthread_self(), state->name.substr(0, 15).c_str());
    std::unique_lock lock(state->mutex);
    while (true) {
        ++state->idle;
        state->wakeUp.wait(lock, [&] { return state->ended || !state->tasks.empty(); });
        --state->idle;
        if (state->ended) return;
        {
            const Task task = std::move(state->tasks.front());
            state->tasks.pop_front();
            lock.unlock();
            runGuarded(task, state->name);
        } // the task goes before the lock is taken: its destructor may hand in others
        lock.lock();
    }
}

/// The mutex must be held. Returns whether any thread is there to do the work.
bool ThreadPool::State::addThread(const std::shared_ptr<State>& state) {
    if (state->threads.size() >= state->maximum) return !state->threads.empty();
    try {
        state->threads.emplace_back([state] { work(state); });
        ++state->started;
    } catch (const std::system_error&) {
        // The system gives no more threads; those that are there will do.
    }
    return !state->threads.empty();
}

/// `state` is a pointer of its own: the task may end the pool before this function has returned.
void ThreadPool::State::handIn(std::shared_ptr<State> state, Task task) {
    std::unique_lock lock(state->mutex);
    if (state->ended) return;
    const bool hasIdleThread = state->idle > state->tasks.size();
    if (!hasIdleThread && !addThread(state)) {
        lock.unlock();
        runGuarded(task, state->name);
        return;
    }
    state->tasks.push_back(std::move(task));
    lock.unlock();
    state->wakeUp.notify_one();
}

ThreadPool::ThreadPool(unsigned long long threads, const std::string& name)
    : _state(std::make_shared<State>(threads, name)) {}

ThreadPool::~ThreadPool() {
    endThreads();
}

std::future<void> ThreadPool::submit(std::function<void()> task) {
    // Shared, as std::function copies and a packaged task cannot be copied.
    auto packaged = std::make_shared<std::packaged_task<void()>>(std::move(task));
    std::future<void> result = packaged->get_future();
    State::handIn(_state, [packaged = std::move(packaged)] { (*packaged)(); });
    return result;
}

void ThreadPool::post(std::function<void()> task) {
    State::handIn(_state, std::move(task));
}

void ThreadPool::endThreads() {
    const std::shared_ptr<State> state = _state;
    std::deque<Task> dropped;
    std::vector<std::thread> threads;
    {
        const std::lock_guard lock(state->mutex);
        state->ended = true;
        dropped.swap(state->tasks);
        threads.swap(state->threads);
    }
    state->wakeUp.notify_all();
    dropped.clear(); // before waiting: a running task may wait for a dropped one
    for (std::thread& thread : threads) {
        // A task that ends its own pool cannot wait for itself.
        if (thread.get_id() == std::this_thread::get_id())
            thread.detach();
        else
            thread.join();
    }
}

unsigned long long ThreadPool::startedThreads() const {
    const std::lock_guard lock(_state->mutex);
    return _state->started;
}

} // namespace Keel
