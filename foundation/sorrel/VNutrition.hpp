#pragma once
// What loaders of files and algorithms tell about what they can be fed with; stands on keel.

#include <sorrel/fwd.hpp>

#include <keel/LoaderProgress.hpp>
#include <keel/StrongPtr.hpp>

#include <functional>
#include <set>
#include <string>

namespace Mirk {

/// Base of loaders of media files. By default nothing is digestible, and all texts are empty.
class SORREL_EXPORT VNutrition {
public:
    using ProgressPtr = Keel::StrongPtr<Keel::LoaderProgress>;
    using Translate = std::function<std::string(const std::string&)>;

    VNutrition();
    virtual ~VNutrition();

    // The order of the virtual operations is part of the interface.

    /// Whether this can be made something of, such as the name of a file.
    virtual bool digestible(const std::string& food) const;
    /// What can be told about some files at a glance, as rich text.
    virtual std::string quickinfo(std::set<std::string>& foods) const;
    virtual std::string quickinfo(std::set<std::string>& foods, const ProgressPtr& progress) const;
    /// Loads files: takes out of `foods` what it has loaded. `place` says where to, `translate`
    /// finds a file by its name, `options` are words of the caller; `progress` may be null. Returns
    /// rich text for the user, empty if there is nothing to tell.
    virtual std::string digest(std::set<std::string>& foods, const std::string& place,
                               const Translate& translate, const std::set<std::string>& options,
                               const ProgressPtr& progress);
    /// A script that loads the files; empty if there is none.
    virtual std::string createScript(std::set<std::string>& foods, int options);
};

} // namespace Mirk
