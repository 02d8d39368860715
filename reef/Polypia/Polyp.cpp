#include <Polypia/Polyp.hpp>

#include <Polypia/RenderException.hpp>

#include <keel/Profiler.hpp>
#include <keel/VerboseStream.hpp>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

namespace Mirk {

namespace {

/// A statistic, raised without synchronisation: polyps made at once on two threads may share a
/// number.
std::atomic<unsigned long> polypCounter{0};

std::string nextPolypName() {
    const unsigned long number = polypCounter.load(std::memory_order_relaxed);
    polypCounter.store(number + 1, std::memory_order_relaxed);
    return "Polyp #" + std::to_string(number);
}

/// 0 as soon as either operand is 0. Overflow wraps around.
std::uint32_t leastCommonMultiple(std::uint32_t a, std::uint32_t b) {
    if (a == 0 || b == 0) return 0;
    return a / std::gcd(a, b) * b;
}

/// A tentacle that outlives what it does to itself in a wave. Null if it is dead.
struct Held {
    explicit Held(const Polyp::TentaclePtr& pointer)
        : reference(pointer), tentacle(reference.get()) {}
    const Polyp::TentaclePtr reference;
    Polyp::Tentacle* const tentacle;
};

/// Room on the stack for a tentacle, without a pointer being made for a room that is never used.
union Room {
    Room() noexcept {}
    ~Room() {}
    Held held;
};
constexpr std::ptrdiff_t GroupSize = 16;

/// Deactivates and lets go of the tentacles from `end` down to `first`; all of them, also when one
/// throws.
void deactivateGroup(Room* const first, Room* end, const Polyp& polyp) {
    while (end != first) {
        --end;
        try {
            end->held.tentacle->deactivate(polyp);
        } catch (...) {
            std::destroy_at(&end->held);
            deactivateGroup(first, end, polyp);
            throw;
        }
        std::destroy_at(&end->held);
    }
}

} // namespace

/// The entries that a wave, or an update, has still ahead of it. Goes by the prepared order of the
/// polyp as long as that stands, else by the map.
class Polyp::Ahead {
public:
    Ahead(const Polyp& polyp, Iterator from)
        : next(from),
          end(polyp.tentacles.end()),
          _place(polyp.waveOrder.data()),
          _orderChanges(polyp.waveOrderChanges),
          _ordered(!polyp.waveOrder.empty() && polyp.waveOrder.front() == from ? _orderChanges : 0),
          _innermost(polyp.innermostWave),
          _outer(std::exchange(_innermost, this)) {}
    ~Ahead() { _innermost = _outer; }
    Ahead(const Ahead&) = delete;
    Ahead& operator=(const Ahead&) = delete;

    void advance() {
        if (_orderChanges == _ordered) {
            next = *++_place;
        } else {
            ++next;
        }
    }
    /// Has this wave and those around it go on at `successor` instead of at `erased`.
    void replaceNext(Iterator erased, Iterator successor) {
        for (Ahead* wave = this; wave != nullptr; wave = wave->_outer) {
            if (wave->next == erased) wave->next = successor;
        }
    }
    /// Ends this wave and those around it at the tentacles that are active.
    void finish() {
        for (Ahead* wave = this; wave != nullptr; wave = wave->_outer) wave->next = wave->end;
    }

    Iterator next;
    const Iterator end;

private:
    const Iterator* _place;
    const std::uint64_t& _orderChanges;
    /// Value of `_orderChanges` for which `_place` is good; 0 for none.
    const std::uint64_t _ordered;
    Ahead*& _innermost;
    Ahead* const _outer;
};

Polyp::Tentacle::Tentacle(int key, unsigned long activity)
    : tentacleKey(key), activityMask(static_cast<Activity_t>(activity)) {}

Polyp::Tentacle::~Tentacle() = default;

bool Polyp::Tentacle::updateValue(VRenderContext&) {
    return true;
}

std::size_t Polyp::Tentacle::memsize() const {
    return 0;
}

std::size_t Polyp::Tentacle::NumberOfElements() const {
    return 0;
}

int Polyp::Tentacle::getTextureUnit() const {
    return -1;
}

int Polyp::Tentacle::getSamplerType() const {
    return 0;
}

Polyp::TentacleIterator::~TentacleIterator() = default;

Polyp::Polyp(const Keel::WeakPtr<Keel::Creature>& creator) : MutableCacheable(creator) {
    setName(nextPolypName());
}

Polyp::~Polyp() = default;

const std::type_info& Polyp::DomainType() const {
    return typeid(Polyp);
}

std::size_t Polyp::computeMemsize() const {
    std::size_t bytes = 0;
    for (const auto& [key, tentacle] : tentacles) {
        if (tentacle) bytes += tentacle->memsize();
    }
    return bytes;
}

int Polyp::wave(Activity_t mask) const {
    // The name is copied for a trace only.
    if (!Keel::Profiler::isEnabled()) return wavePasses(mask);
    const Keel::Profiler scope("reef/Polypia/Polyp", 247, "int Mirk::Polyp::wave(Activity_t) const",
                               name(), 5, "Polypia");
    return wavePasses(mask);
}

int Polyp::wavePasses(Activity_t mask) const {
    try {
        if (chunkElements == 0 || chunkCount == 0) return waveTentacles(tentacles.begin(), mask);
        int activated = 0;
        for (currentChunk = 0; currentChunk < chunkCount; ++currentChunk) {
            activated += waveTentacles(tentacles.begin(), mask);
        }
        return activated;
    } catch (const RenderException& exception) {
        Keel::VerboseStream("Polypia", 1).print("%s", exception.str().c_str());
        throw;
    }
}

int Polyp::waveTentacles(Iterator from, Activity_t mask) const {
    Ahead ahead(*this, from);
    return waveGroup(ahead, mask);
}

/// Waves a group of tentacles around all that follow. The recursion deactivates in reverse order on
/// every path, exceptions included, and allocates nothing. It is over groups and not over single
/// tentacles, as a processor predicts only so many returns. For the speed of the good path the
/// steps stand here in one function.
int Polyp::waveGroup(Ahead& ahead, Activity_t mask) const {
    Room group[GroupSize];
    Room* end = group;
    int inner = 0;
    try {
        while (ahead.next != ahead.end) {
            if (end == group + GroupSize) {
                inner = waveGroup(ahead, mask);
                break;
            }
            Held* const held = std::construct_at(&end->held, ahead.next->second);
            // Ahead of the activation, in which a tentacle may erase itself. When it erases the
            // next one, eraseTentacle() leads the wave past that.
            ahead.advance();
            if (held->tentacle == nullptr) {
                std::destroy_at(held);
                continue;
            }
            bool active = false;
            try {
                // A tentacle outside of the mask ends the wave and is not skipped: a mask selects a
                // prefix.
                active =
                    (held->tentacle->activityMask & mask) != 0 && held->tentacle->activate(*this);
            } catch (...) {
                std::destroy_at(held);
                throw;
            }
            if (!active) {
                std::destroy_at(held);
                break;
            }
            ++end;
        }
    } catch (...) {
        deactivateGroup(group, end, *this);
        throw;
    }
    const int activated = inner + static_cast<int>(end - group);
    deactivateGroup(group, end, *this);
    return activated;
}

void Polyp::prepareWave() {
    adjustCurrentMemsize();
    orderWave();
    chunkElements = 0;
    const auto vertices =
        static_cast<std::uint32_t>(NumberOfElements(VertexAttributeKey, VertexAttributeKey));
    if (vertices == 0) return;
    std::size_t widestBytes = 0;
    const std::uint32_t chunkBytes = greatestChunk(vertices, widestBytes);
    const auto widestVertex = static_cast<std::uint32_t>(widestBytes / vertices);
    if (widestVertex == 0 || chunkBytes < widestVertex) return;
    chunkElements = chunkBytes / widestVertex;
    // The last pass may be empty; it runs all the same.
    chunkCount = vertices / chunkElements + 1;
}

/// Lines the entries up, as finding the next one in a map takes as long as the rest of a wave.
void Polyp::orderWave() {
    discardWaveOrder();
    waveOrder.reserve(tentacles.size() + 1);
    for (Iterator entry = tentacles.begin(); entry != tentacles.end(); ++entry) {
        waveOrder.push_back(entry);
    }
    waveOrder.push_back(tentacles.end());
}

void Polyp::discardWaveOrder() noexcept {
    waveOrder.clear();
    ++waveOrderChanges;
}

/// The greatest number of bytes that may be bound at a time and that respects all divisors of the
/// data bound in chunks; 0 if it need not be cut. `widestBytes` gets the size of the largest data.
std::uint32_t Polyp::greatestChunk(std::uint32_t vertices, std::size_t& widestBytes) const {
    std::uint32_t common = 1;
    std::uint32_t limit = 0;
    const auto [first, last] = get_range(ChunkedDataKey, ChunkedDataKey);
    for (Iterator entry = first; entry != last; ++entry) {
        const TentaclePtr& tentacle = entry->second;
        if (!tentacle) continue;
        const std::size_t bytes = tentacle->memsize();
        widestBytes = std::max(widestBytes, bytes);
        for (std::uint32_t i = 0; i < tentacle->chunkDivisorCount; ++i) {
            common = leastCommonMultiple(common, tentacle->chunkDivisors[i]);
        }
        common = leastCommonMultiple(common, static_cast<std::uint32_t>(bytes / vertices));
        // The greatest limit wins, not the smallest.
        limit = std::max(limit, tentacle->chunkLimit);
    }
    return common > 1 ? limit - limit % common : 0;
}

std::size_t Polyp::complete(VRenderContext& context) {
    std::forward_list<CompletionTask> running;
    running.swap(completionTasks);
    // What a task adds comes behind what is left of these, also when a task throws.
    struct PutBack {
        ~PutBack() {
            running.remove_if([](const CompletionTask& task) { return !task; });
            waiting.splice_after(waiting.before_begin(), running);
        }
        std::forward_list<CompletionTask>& running;
        std::forward_list<CompletionTask>& waiting;
    };
    const PutBack putBack{running, completionTasks};
    std::size_t finished = 0;
    for (CompletionTask& task : running) {
        if (!task || !task(*this, context)) continue;
        task = nullptr;
        ++finished;
    }
    return finished;
}

void Polyp::addCompletionTask(const CompletionTask& task) {
    auto last = completionTasks.before_begin();
    for (auto next = completionTasks.begin(); next != completionTasks.end(); ++next) last = next;
    completionTasks.insert_after(last, task);
}

bool Polyp::updateValues(VRenderContext& context) const {
    Ahead ahead(*this, tentacles.begin());
    return updateRest(ahead, context);
}

/// Not inlined, as GCC 12 takes what Ahead does to its polyp for a dangling pointer then.
[[gnu::noinline]] bool Polyp::updateRest(Ahead& ahead, VRenderContext& context) {
    while (ahead.next != ahead.end) {
        const TentaclePtr& tentacle = ahead.next->second;
        ahead.advance();
        if (!tentacle->updateValue(context)) return false;
    }
    return true;
}

bool Polyp::insertTentacle(int key, const TentaclePtr& tentacle) {
    if (!tentacle) return false;
    const std::size_t vertices = NumberOfElements(VertexAttributeKey, VertexAttributeKey);
    const std::size_t present = NumberOfElements(tentacle->tentacleKey, tentacle->tentacleKey);
    const std::size_t incoming = tentacle->NumberOfElements();
    if (incoming != 0 && present != 0 && incoming != present) {
        std::printf("Polyp::insertTentacle(): WARNING - adding different number of elements to "
                    "attribute class:\n\t   HAVE %d Vertices, %d elements in class %d, getting %d "
                    "data elements ...\n",
                    static_cast<int>(vertices), static_cast<int>(present),
                    tentacle->tentacleKey - VertexAttributeKey, static_cast<int>(incoming));
        std::fflush(stdout);
    }
    discardWaveOrder();
    tentacles.emplace(key, tentacle);
    return true;
}

bool Polyp::eraseTentacle(const TentaclePtr& tentacle) {
    // A dead pointer is not empty: it still tells its entry.
    if (tentacle.controlBlock() == nullptr) return false;
    const auto found = std::find_if(tentacles.begin(), tentacles.end(),
                                    [&](const auto& entry) { return entry.second == tentacle; });
    if (found == tentacles.end()) return false;
    discardWaveOrder();
    if (innermostWave != nullptr) innermostWave->replaceNext(found, std::next(found));
    tentacles.erase(found);
    return true;
}

void Polyp::clear() noexcept {
    discardWaveOrder();
    if (innermostWave != nullptr) innermostWave->finish();
    tentacles.clear();
}

std::size_t Polyp::NumberOfElements(int a, int b) const {
    const auto [first, last] = get_range(std::min(a, b), std::max(a, b));
    for (Iterator entry = first; entry != last; ++entry) {
        if (!entry->second) continue;
        if (const std::size_t elements = entry->second->NumberOfElements()) return elements;
    }
    return 0;
}

std::size_t Polyp::NumberOfTentacles(int a, int b, unsigned long mask) const {
    if (a > b) return 0;
    const auto [first, last] = get_range(a, b);
    return static_cast<std::size_t>(std::count_if(first, last, [mask](const auto& entry) {
        return entry.second && (entry.second->activityMask & mask) != 0;
    }));
}

std::pair<Polyp::Iterator, Polyp::Iterator> Polyp::get_range(int a, int b) const {
    return {tentacles.lower_bound(a), tentacles.upper_bound(b)};
}

std::pair<Polyp::Iterator, Polyp::Iterator> Polyp::get_programs() const {
    return {tentacles.lower_bound(ProgramKey), tentacles.lower_bound(LastProgramKey + 1)};
}

std::size_t Polyp::iterate(TentacleIterator& visitor, int a, int b) const {
    return iterate(
        [&](int key, const TentaclePtr& tentacle) { return visitor.apply(key, tentacle); }, a, b);
}

std::size_t Polyp::iterate(const std::function<bool(int, const TentaclePtr&)>& visitor, int a,
                           int b) const {
    if (a > b) return 0;
    std::size_t accepted = 0;
    const auto [first, last] = get_range(a, b);
    for (Iterator entry = first; entry != last; ++entry) {
        if (!entry->second) continue;
        if (!visitor(entry->first, entry->second)) break;
        ++accepted;
    }
    return accepted;
}

Keel::StrongPtr<Polyp::SpecializedTentacle<Polyp::ProgramKey>, Polyp::Tentacle>
Polyp::getProgram(unsigned long mask) const {
    using ProgramPtr = Keel::StrongPtr<SpecializedTentacle<ProgramKey>, Tentacle>;
    const auto [first, last] = get_programs();
    const Iterator found = std::find_if(first, last, [mask](const auto& entry) {
        return entry.second && (entry.second->activityMask & mask) != 0;
    });
    return found != tentacles.end() ? ProgramPtr(found->second) : ProgramPtr();
}

Keel::StrongPtr<Polyp::SpecializedTentacle<Polyp::TimerKey>, Polyp::Tentacle>
Polyp::getTimer() const {
    using TimerPtr = Keel::StrongPtr<SpecializedTentacle<TimerKey>, Tentacle>;
    const Iterator found = tentacles.lower_bound(TimerKey);
    return found != tentacles.end() ? TimerPtr(found->second) : TimerPtr();
}

std::string Polyp::xml(const std::string&) const {
    return "Yet to be implemented....";
}

} // namespace Mirk
