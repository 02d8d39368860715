#pragma once
// Stands above all viewers; stands on the object model.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <sorrel/TypedSlot.hpp>
#include <sorrel/ValuePool.hpp>

#include <string>

namespace Mirk {

/// The value of a meta viewer's output, by which it is connected to those who want pictures. The
/// object behind the connection is what they are after.
struct POLYPIA_EXPORT MetaViewerCreatorEnvironment {};

template<>
struct POLYPIA_EXPORT VValueTrait<MetaViewerCreatorEnvironment> {
    static std::string Text(const MetaViewerCreatorEnvironment&) { return {}; }
    static bool setValueFromText(MetaViewerCreatorEnvironment&, const std::string&) {
        return false;
    }
};

/// Knows all viewers of the process: each has its output "state" connected to an input here, from
/// the first StrongPtr of the later one until the end of the earlier one.
class POLYPIA_EXPORT MetaViewer : public VObject, public ValuePoolProvider {
public:
    /// The arguments are those of VObject. Has a pool of its own.
    MetaViewer(const std::string& viewerName, int p, const PreferencesPtr& prefs);
    ~MetaViewer() override;

    /// Connects the viewers that are there already.
    void published() override;

    ValuePoolPtr getValuePool() const { return providedValuePool(); }

private:
    const VOutput<MetaViewerCreatorEnvironment> _output;
};

static_assert(std::is_same_v<Keel::RootOf_t<MetaViewer>, MetaViewer::ReferenceRoot>);

} // namespace Mirk
