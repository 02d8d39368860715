#pragma once
// What the shell is told; stands on VObject.

#include <sorrel/VObject.hpp>

#include <string>
#include <vector>

namespace Mirk {

/// Somebody who wants to hear of objects and warnings, such as a user interface; and the shell's
/// hold on what has been made. All operations may be called from any thread; listeners are called
/// without any lock of the shell, on the thread that has something to tell, which may hold the
/// mutex of an object: a warning may come from an update.
class SORREL_EXPORT VActionNotifier : public Keel::ReferenceBase<VActionNotifier> {
public:
    VActionNotifier();
    ~VActionNotifier() override;

    /// An object was announced; it is complete.
    virtual void objectCreated(const VObjectPtr& object, const Keel::Intercube& context,
                               const Keel::WeakPtr<VCreatorBase>& creator);
    /// An object was removed from the shell, disconnected. It dies when nobody else holds it.
    virtual void objectRemoved(const VObjectPtr& object);
    virtual void warning(const std::string& text);

    /// Tells this listener from now on. Kept weakly.
    static void addListener(const Keel::WeakPtr<VActionNotifier>& listener);
    static void removeListener(const Keel::WeakPtr<VActionNotifier>& listener);

    /// Announces a new object: the shell keeps it alive until remove() or clear(). Announcing an
    /// object twice tells nobody the second time.
    static void VObjectCreation(const VObjectPtr& object, const Keel::Intercube& context,
                                const Keel::WeakPtr<VCreatorBase>& creator);
    /// Disconnects an object, its inputs and all inputs that are connected to it, and lets go of
    /// it. False if the shell did not hold it.
    static bool remove(const VObjectPtr& object);
    /// Lets go of all objects, in reverse order of their announcement.
    static void clear();
    /// What the shell holds, in order of announcement.
    static std::vector<VObjectPtr> objects();

    /// Shows a warning: to the listeners; without any it is printed on standard output.
    static void Warning(const std::string& text);
};

} // namespace Mirk
