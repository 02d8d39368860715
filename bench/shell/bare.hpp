#pragma once
// What the two bare programs have in common: a context, programs, a picture, a clock. Stands on
// EGL, OpenGL and libpng alone, so that nothing of the library is measured against itself.

// The functions of OpenGL 4.5 come from libOpenGL.
#define GL_GLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>
#include <GL/glext.h>
#include <png.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <string>
#include <string_view>
#include <vector>

namespace Bare {

[[noreturn]] inline void fail(const std::string& reason) {
    std::fprintf(stderr, "%s\n", reason.c_str());
    std::exit(1);
}

/// Prints the stages in the words of `polypia render --verbose`.
class Stages {
public:
    void begin(const char* name) {
        end();
        _name = name;
        _begun = Clock::now();
    }
    void end() {
        if (_name) std::printf("%s %.1f ms, ", _name, milliseconds(_begun));
        _name = nullptr;
    }
    void printTotal() {
        end();
        std::printf("total %.1f ms\n", milliseconds(_started));
    }

private:
    using Clock = std::chrono::steady_clock;
    static double milliseconds(Clock::time_point since) {
        return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
    }
    const char* _name = nullptr;
    Clock::time_point _started = Clock::now(), _begun;
};

/// Makes a context without a window current; the end of the process gives it back.
inline void makeContext() {
    const EGLDisplay display =
        eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (!eglInitialize(display, nullptr, nullptr)) fail("EGL does not start");
    eglBindAPI(EGL_OPENGL_API);
    const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                                 4,
                                 EGL_CONTEXT_MINOR_VERSION,
                                 5,
                                 EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                 EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT,
                                 EGL_NONE};
    const EGLContext context =
        eglCreateContext(display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
    if (!eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context))
        fail("no context of OpenGL 4.5");
}

inline std::string withDefine(std::string_view source, const std::string& name) {
    const std::size_t line = source.find('\n') + 1;
    return std::string(source.substr(0, line)) + "#define " + name + "\n" +
           std::string(source.substr(line));
}

class Program {
public:
    void add(GLenum stage, std::string_view source) {
        const GLuint shader = glCreateShader(stage);
        const char* const text = source.data();
        const auto length = static_cast<GLint>(source.size());
        glShaderSource(shader, 1, &text, &length);
        glCompileShader(shader);
        glAttachShader(_id, shader);
    }
    void link() {
        glLinkProgram(_id);
        GLint linked = 0;
        glGetProgramiv(_id, GL_LINK_STATUS, &linked);
        if (linked) return;
        char log[1000];
        glGetProgramInfoLog(_id, sizeof log, nullptr, log);
        fail(log);
    }
    void use() const { glUseProgram(_id); }
    GLint uniform(const char* name) const { return glGetUniformLocation(_id, name); }
    GLuint attribute(const char* name) const {
        return static_cast<GLuint>(glGetAttribLocation(_id, name));
    }
    void set(const char* name, const std::array<float, 3>& v) const {
        glProgramUniform3fv(_id, uniform(name), 1, v.data());
    }

private:
    GLuint _id = glCreateProgram();
};

template<class T>
GLuint buffer(const std::vector<T>& data) {
    GLuint id = 0;
    glCreateBuffers(1, &id);
    glNamedBufferData(id, static_cast<GLsizeiptr>(data.size() * sizeof(T)), data.data(),
                      GL_STATIC_DRAW);
    return id;
}

inline void attribute(GLuint array, GLuint where, GLuint buffer, GLint components, GLenum type,
                      GLsizei stride) {
    glVertexArrayAttribFormat(array, where, components, type, type == GL_UNSIGNED_BYTE, 0);
    glVertexArrayAttribBinding(array, where, where);
    glVertexArrayVertexBuffer(array, where, buffer, 0, stride);
    glEnableVertexArrayAttrib(array, where);
}

// --- Camera: where polypia puts it for the same data, so that both draw the same picture
// ----------

using Vector = std::array<double, 3>;

inline double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline Vector normalised(const Vector& a) {
    const double length = std::sqrt(dot(a, a));
    return {a[0] / length, a[1] / length, a[2] / length};
}

struct View {
    std::array<float, 16> matrix;
    std::array<float, 3> eye, light;
};

/// For data in a ball of that radius round the origin.
inline View view(const Vector& eye, const Vector& focalPoint, const Vector& viewUp, double radius,
                 double aspect) {
    const Vector f =
        normalised({focalPoint[0] - eye[0], focalPoint[1] - eye[1], focalPoint[2] - eye[2]});
    const Vector r = normalised(cross(f, viewUp)), u = cross(r, f);
    const double depth = -dot(f, eye);
    const double farPlane = depth + 1.001 * radius, nearPlane = depth - 1.001 * radius;
    const double focal = 1.0 / std::tan(15.0 * std::numbers::pi / 180.0);
    const double zScale = (farPlane + nearPlane) / (farPlane - nearPlane);
    const double zOffset = -2.0 * farPlane * nearPlane / (farPlane - nearPlane);
    View view{};
    const std::array<Vector, 4> axes{r, u, f, f};
    const std::array<double, 4> scales{focal / aspect, focal, zScale, 1.0};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t i = 0; i < 3; ++i)
            view.matrix[4 * i + row] = static_cast<float>(axes[row][i] * scales[row]);
        view.matrix[12 + row] =
            static_cast<float>(-dot(axes[row], eye) * scales[row] + (row == 2 ? zOffset : 0.0));
    }
    const Vector light = normalised({u[0] * 0.6 - r[0] * 0.5 - f[0], u[1] * 0.6 - r[1] * 0.5 - f[1],
                                     u[2] * 0.6 - r[2] * 0.5 - f[2]});
    for (std::size_t i = 0; i < 3; ++i) {
        view.eye[i] = static_cast<float>(eye[i]);
        view.light[i] = static_cast<float>(light[i]);
    }
    return view;
}

inline void setView(const Program& program, const View& view) {
    program.use();
    glUniformMatrix4fv(program.uniform("ModelViewProjection"), 1, GL_FALSE, view.matrix.data());
    program.set("EyePosition", view.eye);
    program.set("LightDirection", view.light);
}

// --- The picture ---------------------------------------------------------------------------------

/// A framebuffer of four samples for each pixel.
class Picture {
public:
    Picture(int width, int height) : _width(width), _height(height) {
        _sampled = framebuffer(4);
        _resolved = framebuffer(0);
        glBindFramebuffer(GL_FRAMEBUFFER, _sampled);
        glViewport(0, 0, width, height);
        glEnable(GL_DEPTH_TEST);
        glDepthFunc(GL_LEQUAL);
    }
    void clear() const {
        glClearColor(0.018F, 0.026F, 0.043F, 1.0F);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    /// Rows from the bottom.
    std::vector<unsigned char> read() const {
        glBlitNamedFramebuffer(_sampled, _resolved, 0, 0, _width, _height, 0, 0, _width, _height,
                               GL_COLOR_BUFFER_BIT, GL_NEAREST);
        glBindFramebuffer(GL_READ_FRAMEBUFFER, _resolved);
        std::vector<unsigned char> pixels(static_cast<std::size_t>(_width * _height) * 4);
        glReadPixels(0, 0, _width, _height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        return pixels;
    }

private:
    GLuint framebuffer(int samples) const {
        GLuint id = 0, buffers[2];
        glCreateFramebuffers(1, &id);
        glCreateRenderbuffers(2, buffers);
        const GLenum formats[] = {GL_RGBA8, GL_DEPTH24_STENCIL8};
        const GLenum places[] = {GL_COLOR_ATTACHMENT0, GL_DEPTH_STENCIL_ATTACHMENT};
        for (int i = 0; i < (samples > 0 ? 2 : 1); ++i) {
            glNamedRenderbufferStorageMultisample(buffers[i], samples, formats[i], _width, _height);
            glNamedFramebufferRenderbuffer(id, places[i], GL_RENDERBUFFER, buffers[i]);
        }
        return id;
    }

    int _width, _height;
    GLuint _sampled = 0, _resolved = 0;
};

/// By libpng with the effort that polypia takes: level 1, and one filter for all rows.
inline void writePng(const char* path, const std::vector<unsigned char>& pixels, int width,
                     int height) {
    std::FILE* const file = std::fopen(path, "wb");
    if (!file) fail(std::string("cannot write ") + path);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_compression_level(png, 1);
    png_set_filter(png, 0, PNG_FILTER_UP);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_set_filler(png, 0, PNG_FILLER_AFTER);
    const auto rowBytes = static_cast<std::size_t>(width) * 4;
    for (auto row = static_cast<std::size_t>(height); row-- > 0;)
        png_write_row(png, pixels.data() + row * rowBytes);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    if (std::fclose(file) != 0) fail(std::string("cannot write ") + path);
}

} // namespace Bare
