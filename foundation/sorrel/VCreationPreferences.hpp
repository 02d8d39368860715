#pragma once
// Words by which a creator is chosen; stands on keel's interfaces.

#include <sorrel/fwd.hpp>

#include <keel/Interface.hpp>

#include <initializer_list>
#include <string>
#include <vector>

namespace Mirk {

/// Words that somebody who wants an object gives along, and that creators and objects compare with
/// their own, such as "MouseCursor". Constant after construction, so that all threads may read it.
class SORREL_EXPORT VCreationPreferences : public Keel::Interface<VCreationPreferences> {
public:
    /// The words of a text, parted by white space; none if it is empty.
    explicit VCreationPreferences(const std::string& words);
    VCreationPreferences(std::initializer_list<const char*> words);
    ~VCreationPreferences() override;

    const std::vector<std::string>& words() const noexcept { return _words; }
    bool contains(const std::string& word) const;
    /// How many of the words of `wanted` are among these.
    std::size_t matches(const VCreationPreferences& wanted) const;
    /// The words, parted by one blank each.
    std::string text() const;

private:
    std::vector<std::string> _words;
};

} // namespace Mirk
