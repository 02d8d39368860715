#pragma once
// What a display object keeps for each place where it is shown; stands on its programs and pieces.

#include <Displays/DisplayPieces.hpp>
#include <Displays/DisplayPrograms.hpp>

#include <keel/Ageable.hpp>

#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace Mirk {

/// What is shown to one number of eyes of one pool in one Seagrass. Its age is that of the lights
/// which the text of its program was made for. For the render thread.
class DisplayObject::Showing : public Keel::Ageable {
public:
    Showing(const Seagrass& seagrass, const VRenderContext& context);

    bool isFor(const Seagrass& seagrass, const VRenderContext& context) const;
    bool isIn(const Seagrass& seagrass) const;
    bool isOf(const ValuePoolPtr& pool) const;
    const Keel::WeakPtr<Seagrass>& seagrass() const { return _seagrass; }
    /// Whether its Seagrass and pool are still there.
    bool isAlive() const;
    /// Gives up its pieces. Whether nothing is left then that couldn't be made again, as the last
    /// good program of faulty files can't.
    bool clear();

    /// To be called ahead of what follows in each drawing.
    void begin(const VRenderContext& context);
    /// What vertices are to be relative to. While those of another origin are on their way to the
    /// GPU it stays, as a camera that is faster than them would have the old ones drawn for ever.
    /// As long as none of them is there it may be another one.
    point originIn(const DisplayObject& display, VRenderContext& context, const ContentPtr& content,
                   const TransformOperator& transform);

    /// Whether what was asked for last is something else.
    bool isOther(const Generation& generation) const;
    /// Asks for that, by whichever program there is when it is drawn, with these lights.
    void setWanted(const Generation& generation, const CompiledPtr& compiled,
                   const RenderBasin::Lighting& lights);
    /// Asks for nothing, for that reason: what was drawn before goes on, and anything is other.
    void setFailed(const std::exception_ptr& failure);

    struct Drawn {
        bool isWhole;
        std::exception_ptr failure; ///< the same as long as it lasts
    };
    /// Draws what was asked for last or, until all of it is on the GPU, what was drawn before, and
    /// tells what keeps it from being composed, compiled or brought there.
    Drawn draw(const DisplayObject& display, VRenderContext& context, std::size_t level);

    /// The program that was asked for last; null behind a failure to compose it.
    const CompiledPtr& compiled() const { return _compiled; }
    /// The level that was drawn last, which is 0 as long as there are no others.
    std::size_t drawnLevel() const { return _drawnLevel; }

    bool needsLevels = false;    ///< once a level was needed
    std::uint64_t lastDrawn = 0; ///< by the number of drawings in its Seagrass

private:
    void provideWanted(const DisplayObject& display, Pieces::Supply& supply);
    bool isToBeFinished(const Pieces& pieces) const;
    void setComing(std::unique_ptr<Pieces> pieces);
    void showComing();
    bool isLeftOut(VRenderContext& context) const;
    bool drawBest(const DisplayObject& display, VRenderContext& context, std::size_t level,
                  Pieces::Supply& supply);
    bool prepareComing(VRenderContext& context, Pieces::Supply& supply);
    void keepPieces();

    struct Nearest {
        std::weak_ptr<const Content> content;
        point camera{};
        double distance = 0.0;
    };
    /// An eye that is somewhere, and how far it may be from the origin.
    struct Need {
        unsigned eye;
        point camera;
        double nearest; ///< how far away that is which is drawn
        double threshold;
    };

    bool isOriginComing() const;
    bool hasNothingThere() const;
    bool isTooFar(const point& origin, const Content& content,
                  const TransformOperator& transform) const;
    bool mayBegin(const VRenderContext& context, const Content& content, double need);
    void noteWaiting(const Content& content, const Pieces::Supply& supply);
    void noteNeeds(const Content& content, bool isWaiting);
    std::size_t missingBytes(const Content& content) const;
    std::size_t bytesOf(const Content& content) const;
    void findNeeds(const DisplayObject& display, VRenderContext& context, const ContentPtr& content,
                   const TransformOperator& transform);
    double greatestNeed(const point& origin) const;
    const Need* bestEye(double presentNeed) const;
    double ageing() const;
    double needOfWaiting() const;
    bool isVain() const { return _vainly > withChance * Exchanges::patience; }
    bool isTurnOfComing(const VRenderContext& context) const;
    bool isAmong(const Content& content, const point& origin) const;
    double nearestTo(unsigned eye, const point& camera, const ContentPtr& content);

    /// Drawings without a chance to go up that tell as much as one with it.
    static constexpr std::uint64_t withChance = 10;
    /// Frames whose time may end ahead of who waits while it keeps its turn in each of them.
    static constexpr int mostCuts = 3;

    const Keel::WeakPtr<Seagrass> _seagrass;
    const Keel::WeakPtr<ValuePool> _pool;
    Keel::Intercube _place;        // where the origin is kept
    std::vector<Nearest> _nearest; // of each eye
    std::vector<Need> _needs;      // of this frame
    const std::size_t _eyes;
    const unsigned _outputViews;
    const bool _takesFiles;
    const Keel::StrongPtr<Exchanges, Keel::InterfaceBase> _exchanges;
    TurnsPtr _turns;          // of the context that draws
    std::uint64_t _frame = 0; // by the exchanges
    bool _hasMost = false;    // nobody has found more of the allowance
    bool _hasTurn = false;
    std::uint64_t _waited = 0; // drawings in a row in which something waited for its turn
    std::uint64_t _vainly = 0; // those in which nothing went up, by how much they tell
    // Those in which the time ended ahead of it, since something went up.
    int _cuts = 0;
    std::minstd_rand _chance;  // to keep its turn all the same
    bool _wasRefused = false;  // in the last one in which it didn't
    double _originNeed = 0.0;  // of another one that waits for its turn to begin; 0 without one
    bool _isOriginDue = false; // another one, that has to wait, and what is off would be seen
    std::size_t _drawnLevel = 0;
    Generation _wanted;
    CompiledPtr _compiled;
    LightsPtr _lights;
    std::exception_ptr _notComposed; // why there is nothing that could be compiled
    std::exception_ptr _notSupplied; // why something isn't on the GPU
    std::exception_ptr _notDrawn;    // why something that is there can't be drawn
    bool _isStuck = false;           // something can't be brought there
    std::unique_ptr<Pieces> _shown;  // what is drawn
    std::unique_ptr<Pieces> _coming; // what takes its place once it is complete; both are kept
    ContentPtr _comingContent;       // which may be replaced in the object by then
};

/// All of them; of a display object, with its mutex held. One goes when its Seagrass has drawn
/// others for a while, and with it what it holds on the GPU.
class DisplayObject::Showings {
public:
    explicit Showings(const DisplayObject& display) : _display(display) {}

    /// True if all was drawn, and nothing fails at any place where the pool is shown: a success
    /// clears the report. Throws what keeps it from that, once for each Seagrass.
    bool draw(VRenderContext& context, const Seagrass& seagrass, const ContentPtr& content);
    /// To be called with the report on what draw() has just thrown.
    void noteReport(const std::string& report);
    /// Has the report of a pool be about something that still fails, if anything does.
    void restoreReport(const ValuePoolPtr& pool) const;
    /// Gives up the pieces of a pool, and what can be made again.
    void drop(const ValuePoolPtr& pool);
    /// The files of all programs, each with its earliest time.
    Programmable::FileTimes fileTimes() const;

private:
    /// What fails in a Seagrass since it was thrown there, in one of the ways to show it. It stays
    /// when it isn't drawn any more, as it would be told again otherwise.
    struct Told {
        using Way = std::tuple<std::size_t, unsigned, bool>; ///< what else Showing::isFor() asks
        bool isAt(const Told& other) const {
            return seagrass == other.seagrass && pool == other.pool;
        }

        Keel::WeakPtr<Seagrass> seagrass;
        Keel::WeakPtr<ValuePool> pool;
        Way way;
        std::string failure; ///< what tells it from others
        std::string report;
        std::uint64_t drawing;      ///< the last one there, by all of them
        std::uint64_t drawingThere; ///< by those in its Seagrass
    };

    bool isLeft(const Showing& showing) const;
    bool isCurrent(const Told& told) const;
    bool tell(const Seagrass& seagrass, const VRenderContext& context,
              const std::exception_ptr& failure);
    Showing& showingFor(const Seagrass& seagrass, const VRenderContext& context);
    CompiledPtr compiledFor(VRenderContext& context, const Seagrass& seagrass,
                            const Content& content, Form form, const TransformOperator& transform);

    const DisplayObject& _display;
    std::vector<std::unique_ptr<Showing>> _all;
    std::vector<std::weak_ptr<Compiled>> _programs;             // that these have
    std::map<Keel::WeakPtr<Seagrass>, std::uint64_t> _drawings; // in each
    std::uint64_t _allDrawings = 0;
    std::vector<Told> _told; // the last one at the end
};

} // namespace Mirk
