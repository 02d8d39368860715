#include <Polypia/RenderException.hpp>

#include <array>
#include <charconv>
#include <string_view>

namespace Mirk {

namespace {

/// Lower-case hexadecimal of the signed value: -1 gives "-1".
std::string hexadecimal(int value) {
    std::array<char, 16> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, 16);
    return {buffer.data(), result.ptr};
}

} // namespace

RenderException::RenderException() noexcept = default;

RenderException::RenderException(int glError_, const char* function_, const char* file_,
                                 unsigned int line_)
    : Keel::Exception(function_, file_, static_cast<int>(line_)),
      description("Generic Render Exception"),
      glError(glError_) {}

RenderException::RenderException(const RenderException&) noexcept = default;
RenderException& RenderException::operator=(const RenderException&) noexcept = default;
RenderException::~RenderException() = default;

const char* RenderException::what() const noexcept {
    return "RenderException Error";
}

std::string RenderException::GLdescription() const {
    return description.str();
}

std::string RenderException::str() const {
    std::string report =
        glError == 0 ? "Error during rendering at "
                     : "OpenGL Error " + hexadecimal(glError) + "(" + GLdescription() + ") at ";
    const auto append = [&report](auto... texts) { (report.append(std::string_view(texts)), ...); };
    append(file.view(), ":", std::to_string(line), " [", function.view(), "]");

    if (!shaderLog.empty()) {
        append("\n", description.view(), ": ", shaderLog.view());
        append("-------- FAULTY SHADER CODE START --------- ", file.view(), "\n");
        append(shaderCode.view());
        append("-------- FAULTY SHADER CODE END   --------- ", file.view(), "\n");
        append(shaderLog.view(), "----------------------------------------------\n");
    }
    if (!concernedVariable.empty()) append("Concerned Variable: ", concernedVariable.view());
    return report;
}

} // namespace Mirk
