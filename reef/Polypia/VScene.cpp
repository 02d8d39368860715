#include <Polypia/VScene.hpp>

#include <Polypia/RenderAble.hpp>

#include <sorrel/VActionNotifier.hpp>

#include <mutex>

namespace Mirk {

namespace {

const char* const defaultSceneName = "DefaultScene";

/// Never destroyed, as display objects may outlive the static objects of this library.
struct TheDefault {
    /// Held while the scene is made, with nothing but leaves below it; not while it is announced,
    /// as who hears of it may ask for it.
    std::mutex mutex;
    /// The last one that was made. It is another than the object of that name if the name was taken
    /// by something that is no scene.
    Keel::WeakPtr<VScene, VManagedObjectBase> made;
};

TheDefault& theDefault() {
    static TheDefault& instance = *new TheDefault;
    return instance;
}

std::string inputName(const VObject& object) {
    return object.Name() + ".renderable";
}

VScenePtr findByName() {
    return VScenePtr(VManagedObject::find(typeid(VObject), defaultSceneName));
}

/// Null if there is none.
VScenePtr findDefaultScene() {
    if (VScenePtr named = findByName()) return named;
    Keel::WeakPtr<VScene, VManagedObjectBase> made;
    {
        const std::lock_guard lock(theDefault().mutex);
        made = theDefault().made;
    }
    return VScenePtr(made);
}

} // namespace

VScene::VScene(const std::string& sceneName)
    : VObject(sceneName, 0, {}),
      _complexity(this, "Complexity", 0, 1),
      _objects(this, "objects", VSceneObjects()) {}

VScene::~VScene() = default;

VScenePtr VScene::DefaultScene() {
    if (VScenePtr found = findDefaultScene()) return found;
    VScenePtr scene;
    {
        const std::lock_guard lock(theDefault().mutex);
        // Another thread may have made it since.
        VScenePtr made(theDefault().made);
        if (made) return made;
        scene = VScenePtr(new VScene(defaultSceneName));
        scene->enableRequestProcessing();
        theDefault().made = scene;
    }
    VActionNotifier::VObjectCreation(scene, {}, {});
    return scene;
}

void VScene::join(const VObject& object, const VSlotPtr& visibility,
                  const VParameterPtr& renderable) {
    visibility->flags &= ~VSlot::GlobalFlag;
    if (const VParameterPtr parameter = visibility->parameter()) parameter->Localize();
    DefaultScene()->addParameter(inputName(object), 0, renderable, true);
}

void VScene::leave(const VObject& object) {
    const VScenePtr scene = findDefaultScene();
    const VSlotPtr output = object.findOutput("renderable");
    if (!scene || !output) return;
    // The user may have connected this input to something else, or an input of that name may have
    // been there before: then the next update finds the dead one.
    const std::string name = inputName(object);
    const VSlotPtr input = scene->findInput(name);
    if (input && input->parameter() == output->parameter()) scene->removeParameter(name);
}

bool VScene::must_update(const VRequest& request, double precision) const {
    // What lies behind its direct objects depends on their connections, too.
    return VObject::must_update(request, precision) || _complexity.value(request.pool) > 0;
}

bool VScene::update(VRequest& request, double) {
    class GrabRenderableObjects : public VObjectIterator {
    public:
        bool apply(const VObjectPtr& object) override {
            const Keel::StrongPtr<RenderAble, VManagedObjectBase> drawable(object);
            if (drawable) objects.insert(drawable->priority, object);
            return true;
        }
        VSceneObjects objects;
    };
    removeDeadInputs();
    int complexity = 0;
    _complexity.get(request, complexity);
    GrabRenderableObjects grab;
    iterateParents(grab, complexity);
    _objects.set(request.pool, grab.objects);
    return true;
}

/// Takes away what was made for an object that has gone since.
void VScene::removeDeadInputs() {
    const InputTable table = inputTable();
    for (const VSlotPtr& input : table->slots) {
        if (input->ownParameter()) continue;
        const VParameterPtr parameter = input->parameter();
        if (parameter && !parameter->hasSource()) detach(input);
    }
}

} // namespace Mirk
