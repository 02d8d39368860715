#include <Polypia/PolypCreator.hpp>

namespace Mirk {

PolypCreatorBase::~PolypCreatorBase() = default;

PolypBasicCreator::PolypBasicCreator(const Seagrass& theSeagrass, const PolypPtr& polyp)
    : AlzheimerCreator(theSeagrass.getCache(), polyp), seagrass(theSeagrass) {
    if (polyp) rejuvenate();
}

PolypBasicCreator::~PolypBasicCreator() {
    giveUpPolyp();
}

void PolypBasicCreator::beforeLastRelease() {
    giveUpPolyp();
}

bool PolypBasicCreator::forget() {
    return giveUpPolyp();
}

PolypPtr PolypBasicCreator::create() {
    const PolypPtr polyp(new Polyp(Keel::WeakPtr<Keel::Creature>(*this)));
    // Ahead of anything that the polyp is filled from.
    rejuvenate();
    store(polyp);
    enableCaching(false);
    return polyp;
}

/// A new polyp while it is being filled; given up unless that is completed, as it would count as
/// valid otherwise.
class PolypBasicCreator::Filling {
public:
    explicit Filling(PolypBasicCreator& creator) : _creator(creator), _polyp(creator.create()) {}
    ~Filling() {
        if (_isComplete) return;
        // What of it was filled takes room until it has died.
        _polyp->adjustCurrentMemsize();
        _creator.giveUpPolyp();
    }
    Filling(const Filling&) = delete;
    Filling& operator=(const Filling&) = delete;

    Polyp& polyp() const { return *_polyp; }
    PolypPtr complete() {
        _polyp->prepareWave();
        _creator._lastFilledBytes = _polyp->memsize();
        _isComplete = true;
        return _polyp;
    }

private:
    PolypBasicCreator& _creator;
    const PolypPtr _polyp;
    bool _isComplete = false;
};

PolypPtr PolypBasicCreator::recreate(const std::function<bool(Polyp&)>& initialize) {
    giveUpPolyp();
    Filling filling(*this);
    filling.polyp().expectMemsize(_lastFilledBytes);
    if (!initialize(filling.polyp())) return {};
    return filling.complete();
}

/// Returns whether there was a polyp.
bool PolypBasicCreator::giveUpPolyp() {
    if (!hasData()) return false;
    // The Seagrass ahead of the polyp: whoever holds a polyp of a live Seagrass keeps that alive
    // until the polyp is in its list, and an ending Seagrass has emptied its creators.
    const Keel::StrongPtr<Seagrass> alive(seagrass);
    PolypPtr polyp = releasePolyp();
    const bool had = bool(polyp);
    if (alive) alive->scheduleDeletion(std::move(polyp));
    return had;
}

} // namespace Mirk
