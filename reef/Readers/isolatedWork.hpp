#pragma once
// Work in a child process, for libraries that damaged files can crash; stands on nothing.

#include <cstddef>
#include <functional>
#include <span>

namespace Mirk {

/// Bytes that the child process leaves to its parent. Each block begins at a multiple of 8, so
/// that its elements can be used in place.
class IsolatedOutput {
public:
    explicit IsolatedOutput(int descriptor) : _descriptor(descriptor) {}
    /// Appends a block; the process ends if there is no room.
    void append(const void* data, std::size_t bytes);

private:
    int _descriptor;
};

/// Runs `work` in a copy of this process and keeps what it appends. The work must not use other
/// threads, and nothing of what it does to memory is seen here. Standard error leads nowhere, and
/// the work fails if it computes for more than 10 seconds, lasts for more than 60, or takes more
/// than 1 GiB of memory.
class IsolatedWork {
public:
    explicit IsolatedWork(const std::function<void(IsolatedOutput&)>& work);
    ~IsolatedWork();
    IsolatedWork(const IsolatedWork&) = delete;
    IsolatedWork& operator=(const IsolatedWork&) = delete;

    /// False if no process could be started, or the work threw or crashed.
    bool isDone() const { return _isDone; }
    /// The next block, which lives as long as this object; empty behind the last one.
    std::span<const char> next();

private:
    int _descriptor = -1;
    bool _isDone = false;
    const char* _bytes = nullptr;
    std::size_t _size = 0, _at = 0;
};

} // namespace Mirk
