#pragma once
// The exception of the graphics layer, with its report; stands on Keel::Exception.

#include <Polypia/export.hpp>

#include <keel/Exception.hpp>
#include <keel/simplestring.hpp>

#include <string>

namespace Mirk {

/// A failure of the graphics layer: a failed backend call, a shader that does not compile, a
/// resource that cannot be made. The backend sets the shader fields after construction.
///
/// With `glError` 0 and without `shaderLog` the report does not contain `description`: a failure
/// of the backend's own that is to be read needs a `glError`.
///
/// A copy as a RenderException loses the words of a backend's override of GLdescription(): rethrow
/// by `throw;`, and set `description` to GLdescription() before storing a copy.
class POLYPIA_EXPORT RenderException : public Keel::Exception {
public:
    /// All texts empty, `glError` 0.
    RenderException() noexcept;

    /// `description` is "Generic Render Exception", the shader fields are empty. `glError` is the
    /// backend's code, 0 for a failure that is no graphics-API error.
    RenderException(int glError, const char* function, const char* file, unsigned int line);

    RenderException(const RenderException&) noexcept;
    RenderException& operator=(const RenderException&) noexcept;

    // The order of the virtual operations is part of the contract with backends.
    ~RenderException() override;

    /// Always "RenderException Error"; str() is the report.
    const char* what() const noexcept override;

    /// The words for `glError`; here `description`. A backend gives the words of its API.
    virtual std::string GLdescription() const;

    /// The report: head, then the shader section if there is a `shaderLog`, then the concerned
    /// variable if there is one. Nothing parts the sections: a log that begins and ends with a
    /// line feed reads best.
    std::string str() const;

    Keel::simplestring description; ///< words for the error
    int glError = 0;
    Keel::simplestring shaderLog;  ///< what the compiler said, "0(LINE) : ..." one message a line
    Keel::simplestring shaderCode; ///< the whole faulty text
    Keel::simplestring concernedVariable; ///< name of the uniform or attribute involved
};

} // namespace Mirk
