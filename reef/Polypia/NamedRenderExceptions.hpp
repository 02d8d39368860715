#pragma once
// The last failure of each named thing of an object; stands on RenderException and ReferenceBase.

#include <Polypia/RenderException.hpp>
#include <Polypia/export.hpp>

#include <keel/ReferenceBase.hpp>

#include <map>
#include <string>

namespace Mirk {

/// The last failure of each named thing, so that a frame loop can go on and still report. Used as
/// a map. A stored exception has lost the words of its backend unless `description` was set to its
/// GLdescription() before.
class POLYPIA_EXPORT NamedRenderExceptions : public Keel::ReferenceBase<NamedRenderExceptions>,
                                             public std::map<std::string, RenderException> {
public:
    NamedRenderExceptions();
    /// Copies the entries; the counts of references are the object's own.
    NamedRenderExceptions(const NamedRenderExceptions&);
    NamedRenderExceptions& operator=(const NamedRenderExceptions&);
    ~NamedRenderExceptions() override;
};

} // namespace Mirk
