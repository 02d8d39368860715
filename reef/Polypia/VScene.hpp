#pragma once
// Gathers what is to be shown; stands on VSceneObjects.

#include <Polypia/VSceneObjects.hpp>

#include <sorrel/TypedSlot.hpp>

#include <string>

namespace Mirk {

using VScenePtr = Keel::StrongPtr<VScene, VManagedObjectBase>;

/// The display objects that its inputs are connected to, and what these depend on as far as the
/// input "Complexity" says (0: not at all), as the value of its output "objects". That is one for
/// all pools unless it is localised, which pools with a Complexity of their own need. An object's
/// priority is its layer. Of an object that has just been made, or has died, the scene learns with
/// the next request; objects that aren't complete yet are left out.
class POLYPIA_EXPORT VScene : public VObject {
public:
    explicit VScene(const std::string& sceneName);
    ~VScene() override;

    /// The scene that every RenderAble joins, and every Viewer shows at first. The first call makes
    /// and announces it; the shell keeps it alive, so that there is another one when the shell has
    /// been cleared. Any thread.
    static VScenePtr DefaultScene();

    /// For the constructor of a display object: from now on its visibility is one for each pool,
    /// and its output "renderable" is connected to the default scene under the object's name,
    /// followed by ".renderable".
    static void join(const VObject& object, const VSlotPtr& visibility,
                     const VParameterPtr& renderable);
    /// For the destructor of a display object: takes the input away again. Makes no scene.
    static void leave(const VObject& object);

    /// With a Complexity above 0 each request gathers anew.
    bool must_update(const VRequest& request, double precision) const override;
    /// Gathers the objects in the pool of the request, and notifies if they are others than before.
    /// Returns true.
    bool update(VRequest& request, double precision) override;

private:
    void removeDeadInputs();

    // In order of construction, which is that of the slots.
    const TypedSlot<int> _complexity;
    const VOutput<VSceneObjects> _objects;
};

static_assert(std::is_same_v<Keel::RootOf_t<VScene>, VScene::ReferenceRoot>);

} // namespace Mirk
