#include <keel/ThreadPool.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>

namespace {

using Keel::ThreadPool;

std::string ownName() {
    char name[16] = {};
    ::pthread_getname_np(::pthread_self(), name, sizeof(name));
    return name;
}

TEST(ThreadPool, RunsATaskOnAThreadOfItsOwn) {
    ThreadPool pool(2, "test");
    std::thread::id id;
    pool.submit([&id] { id = std::this_thread::get_id(); }).get();
    EXPECT_NE(id, std::thread::id());
    EXPECT_NE(id, std::this_thread::get_id());
}

TEST(ThreadPool, RunsTasksWithoutFutures) {
    std::latch done(100);
    ThreadPool pool(3, "test");
    for (int i = 0; i < 100; ++i) pool.post([&done] { done.count_down(); });
    done.wait();
}

TEST(ThreadPool, MakesNoThreadWithoutWork) {
    ThreadPool pool(32, "idle");
    EXPECT_EQ(pool.startedThreads(), 0u);
}

TEST(ThreadPool, ReusesAnIdleThread) {
    ThreadPool pool(32, "test");
    // The thread counts as idle only some time after its future is ready, so this is no "== 1".
    for (int i = 0; i < 1000; ++i) pool.submit([] {}).get();
    EXPECT_LE(pool.startedThreads(), 32u);
    EXPECT_GE(pool.startedThreads(), 1u);
}

TEST(ThreadPool, RunsAsManyTasksAtOnceAsItHasThreads) {
    ThreadPool pool(4, "test");
    std::latch all(4); // opens only if all four run at once
    std::vector<std::future<void>> futures;
    for (int i = 0; i < 4; ++i) futures.push_back(pool.submit([&all] { all.arrive_and_wait(); }));
    for (auto& future : futures) future.get();
    EXPECT_EQ(pool.startedThreads(), 4u);
}

TEST(ThreadPool, MakesNoMoreThreadsThanToldEvenUnderLoad) {
    ThreadPool pool(2, "test");
    std::mutex mutex;
    std::set<std::thread::id> ids;
    std::vector<std::future<void>> futures;
    for (int i = 0; i < 200; ++i) {
        futures.push_back(pool.submit([&] {
            const std::lock_guard lock(mutex);
            ids.insert(std::this_thread::get_id());
        }));
    }
    for (auto& future : futures) future.get();
    EXPECT_LE(ids.size(), 2u);
    EXPECT_LE(pool.startedThreads(), 2u);
}

TEST(ThreadPool, RunsTasksInTheOrderOfSubmission) {
    ThreadPool pool(1, "test");
    std::vector<int> order;
    std::future<void> last;
    for (int i = 0; i < 50; ++i) last = pool.submit([&order, i] { order.push_back(i); });
    last.get();
    for (int i = 0; i < 50; ++i) EXPECT_EQ(order.at(static_cast<std::size_t>(i)), i);
}

TEST(ThreadPool, ThreadsCarryTheNameCutTo15Bytes) {
    std::string name;
    ThreadPool pool(1, "Seagrass Thread Pool X");
    pool.submit([&name] { name = ownName(); }).get();
    EXPECT_EQ(name, "Seagrass Thread");
    ThreadPool named(1, "short");
    named.submit([&name] { name = ownName(); }).get();
    EXPECT_EQ(name, "short");
}

TEST(ThreadPool, ExceptionReachesTheFuture) {
    ThreadPool pool(1, "test");
    auto failing = pool.submit([] { throw std::runtime_error("failed"); });
    EXPECT_THROW(failing.get(), std::runtime_error);
    EXPECT_NO_THROW(pool.submit([] {}).get()) << "the thread lives on";
}

TEST(ThreadPool, ExceptionWithoutFutureIsReported) {
    testing::internal::CaptureStderr();
    {
        ThreadPool pool(1, "loader");
        pool.post([] { throw std::runtime_error("no such file"); });
        pool.post([] { throw 5; });
        pool.submit([] {}).get();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ThreadPool: \"loader\": a task ended with the exception: no such file\n"
              "ThreadPool: \"loader\": a task ended with an unknown exception\n");
}

TEST(ThreadPool, EmptyTaskIsAnErrorOfTheTask) {
    ThreadPool pool(1, "test");
    EXPECT_THROW(pool.submit(nullptr).get(), std::bad_function_call);
}

TEST(ThreadPool, WithoutThreadsRunsTasksAtOnceInTheCallingThread) {
    ThreadPool pool(0, "none");
    std::thread::id id;
    auto future = pool.submit([&id] { id = std::this_thread::get_id(); });
    EXPECT_EQ(id, std::this_thread::get_id());
    EXPECT_NO_THROW(future.get());
    EXPECT_THROW(pool.submit([] { throw std::runtime_error(""); }).get(), std::runtime_error);
    EXPECT_EQ(pool.startedThreads(), 0u);
}

TEST(ThreadPool, EndWaitsForRunningTasksAndDropsTheOthers) {
    std::atomic<bool> finished = false;
    std::latch started(1);
    std::future<void> running, waiting;
    auto watched = std::make_shared<int>(1);
    {
        ThreadPool pool(1, "test");
        running = pool.submit([&] {
            started.count_down();
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            finished = true;
        });
        waiting = pool.submit([watched] { ADD_FAILURE() << "a dropped task has run"; });
        started.wait();
    }
    EXPECT_TRUE(finished);
    EXPECT_NO_THROW(running.get());
    EXPECT_THROW(waiting.get(), std::future_error);
    EXPECT_EQ(watched.use_count(), 1) << "what the dropped task held is released";
}

TEST(ThreadPool, RunningTaskThatWaitsForADroppedOneDoesNotHangTheEnd) {
    std::latch started(1);
    std::promise<std::future<void>> second;
    std::future<void> first;
    {
        ThreadPool pool(1, "test");
        first = pool.submit([&] {
            auto future = second.get_future().get();
            started.count_down();
            EXPECT_THROW(future.get(), std::future_error);
        });
        second.set_value(pool.submit([] {}));
        started.wait();
    }
    EXPECT_NO_THROW(first.get());
}

TEST(ThreadPool, DropsTasksAfterItsEnd) {
    ThreadPool pool(2, "test");
    pool.submit([] {}).get();
    pool.endThreads();
    EXPECT_THROW(pool.submit([] {}).get(), std::future_error);
    pool.endThreads(); // a second time is harmless
}

TEST(ThreadPool, TaskMayHandInOthers) {
    ThreadPool pool(1, "test");
    std::promise<void> done;
    pool.post([&] { pool.post([&] { done.set_value(); }); });
    done.get_future().get();
}

TEST(ThreadPool, DestructorOfATaskMayHandInAnother) {
    struct Caller {
        ThreadPool& pool;
        std::promise<void>& done;
        ~Caller() {
            pool.post([&promise = done] { promise.set_value(); });
        }
    };
    ThreadPool pool(1, "test");
    std::promise<void> done;
    pool.post([caller = std::shared_ptr<Caller>(new Caller{pool, done})] {});
    done.get_future().get();
}

TEST(ThreadPool, TaskMayEndItsOwnPool) {
    std::promise<void> done;
    auto* pool = new ThreadPool(2, "test");
    pool->post([pool, &done] {
        delete pool;
        done.set_value();
    });
    done.get_future().get();
}

TEST(ThreadPool, IsUsedByManyThreadsAtOnce) {
    std::atomic<int> count = 0;
    {
        ThreadPool pool(3, "test");
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int n = 0; n < 50; ++n) pool.submit([&count] { ++count; }).get();
            });
        }
        for (std::thread& thread : threads) thread.join();
    }
    EXPECT_EQ(count, 200);
}

TEST(ThreadPool, IsABaseClass) {
    struct Derived : ThreadPool {
        explicit Derived(bool& flag) : ThreadPool(1, "derived"), destroyed(flag) {}
        ~Derived() override { destroyed = true; }
        bool& destroyed;
    };
    bool destroyed = false;
    std::unique_ptr<ThreadPool> pool = std::make_unique<Derived>(destroyed);
    pool.reset();
    EXPECT_TRUE(destroyed);
}

} // namespace
