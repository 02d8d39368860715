#pragma once
// Makers of objects, found by name and by what their objects offer; stands on VObject.

#include <sorrel/VObject.hpp>

#include <string>
#include <typeinfo>
#include <vector>

namespace Mirk {

/// What is known of a category of creators, such as "Display".
class SORREL_EXPORT VCreatorCategory {
public:
    struct Properties {
        /// A letter or two for menus.
        std::string shortKey;
        std::string help;
    };

    /// The record of a category, made at the first call; it stays where it is for ever. To be
    /// changed while a library is loaded, before other threads read it.
    static Properties& getProperties(const std::string& name);
    /// The names of all categories, in alphabetical order.
    static std::vector<std::string> names();
};

/// Makes objects of one kind. A creator lives as long as the module that registers it; objects
/// remember its name only.
class SORREL_EXPORT VCreatorBase : public Keel::ReferenceBase<VCreatorBase> {
public:
    using PreferencesPtr = VObject::PreferencesPtr;

    /// `category` may be empty; `preferences` may be null.
    VCreatorBase(const std::string& creatorName, const std::string& category,
                 const PreferencesPtr& preferences);
    ~VCreatorBase() override;

    /// Makes an object of that name. `preferences` may be null; `context` holds what the caller
    /// adds. Null, or an exception, if that fails.
    virtual VObjectPtr create(const std::string& objectName, const PreferencesPtr& preferences,
                              const Keel::Intercube& context) = 0;

    const std::string& name() const noexcept { return _name; }
    const std::string& category() const noexcept { return _category; }
    const PreferencesPtr& preferences() const noexcept { return _preferences; }

    /// Makes a creator known. False, and nothing has changed, if there is another of its name.
    /// Known creators are held weakly.
    static bool registerCreator(const Keel::WeakPtr<VCreatorBase>& creator);
    static void unregisterCreator(const Keel::WeakPtr<VCreatorBase>& creator);
    /// The creator of a name, or null.
    static Keel::StrongPtr<VCreatorBase> find(const std::string& creatorName);
    /// All creators of a category (of all, if it is empty) by name.
    static std::vector<Keel::StrongPtr<VCreatorBase>> creators(const std::string& category = {});
    /// Calls create(), and notes the creator's name in the object. Whoever has connected the object
    /// then calls VSlotContainer::setup. Null if creation failed; what was thrown is shown as a
    /// warning.
    VObjectPtr make(const std::string& objectName, const PreferencesPtr& preferences,
                    const Keel::Intercube& context);

private:
    const std::string _name;
    const std::string _category;
    const PreferencesPtr _preferences;
};

/// A creator for a class with the constructor of VObject.
template<class Object>
class VCreator : public VCreatorBase {
public:
    using VCreatorBase::VCreatorBase;

    VObjectPtr create(const std::string& objectName, const PreferencesPtr& preferences,
                      const Keel::Intercube&) override {
        return VObjectPtr(new Object(objectName, 0, preferences));
    }
};

/// Root of the creators that serve inputs of a type: an object of theirs has an output of it.
class SORREL_EXPORT VInputCreatorBase : public VCreatorBase {
public:
    /// The text that a creator of this version of the interface gives as `apiVersion`.
    static const char* const ApiVersion;

    /// `rank` decides among creators that fit equally well: the greatest is taken.
    VInputCreatorBase(const std::string& creatorName, int rank, const PreferencesPtr& preferences,
                      const char* apiVersion);
    ~VInputCreatorBase() override;

    int rank() const noexcept { return _rank; }
    const std::string& apiVersion() const noexcept { return _apiVersion; }

    /// The creator of inputs of a type that fits the preferences best, or null.
    static Keel::StrongPtr<VInputCreatorBase, VCreatorBase>
    findBest(const std::type_info& type, const PreferencesPtr& preferences);

private:
    const int _rank;
    const std::string _apiVersion;
};

/// Adds the type of the inputs.
template<class T, class Base = VInputCreatorBase>
class VInputCreator : public Base {
public:
    using Base::Base;
    static const std::type_info& inputType() noexcept { return typeid(T); }
};

/// Makes a creator of inputs known for a type. False, and nothing has changed, if there is a live
/// one of the same name for this type, or if it was built for another version of the interface.
SORREL_EXPORT bool registerVInput(const std::type_info& type,
                                  const Keel::WeakPtr<VInputCreatorBase, VCreatorBase>& creator);
SORREL_EXPORT bool unregisterVInput(const std::type_info& type,
                                    const Keel::WeakPtr<VInputCreatorBase, VCreatorBase>& creator);

} // namespace Mirk
