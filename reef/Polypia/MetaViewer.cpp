#include <Polypia/MetaViewer.hpp>

#include <Polypia/Viewer.hpp>

namespace Mirk {

namespace {

const ValueTypeRegistration<MetaViewerCreatorEnvironment>
    environmentType("MetaViewerCreatorEnvironment");

/// Has each viewer join all meta viewers, of which it passes over those that it has joined.
class ViewerJoiner : public VManagedObjectIterator {
public:
    bool apply(const VManagedObjectPtr& object) override {
        const Keel::StrongPtr<Viewer, VManagedObjectBase> viewer(object);
        if (viewer) viewer->stateOutput().addThisToAllTypeRequestingObjects(0);
        return true;
    }
};

} // namespace

MetaViewer::MetaViewer(const std::string& viewerName, int p, const PreferencesPtr& prefs)
    : VObject(viewerName, p, prefs),
      _output(this, "MetaViewerOutput", MetaViewerCreatorEnvironment()) {}

MetaViewer::~MetaViewer() = default;

void MetaViewer::published() {
    VObject::published();
    ViewerJoiner joiner;
    VManagedObject::traverse(typeid(VObject), joiner);
}

} // namespace Mirk
