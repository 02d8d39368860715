// A frame of many small triangles, each an object with a polyp of its own, against a bare loop of
// OpenGL in the same context and into the same picture: one uniform and one draw call for each
// triangle, and, where each has its own vertices, the binding of their vertex array. Both wait for
// the picture. What is left out: the first frame, which fills the polyps, and the question for
// errors of OpenGL behind each tentacle, which is the default but in the loop as little; what that
// costs is measured by itself.

#include "../frameObject.hpp"
#include "../graphics.hpp"
#include "../sideBySide.hpp"

#include <PolypiaGL/GLRenderContext.hpp>
#include <PolypiaGL/glHeaders.hpp>

#include <climits>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

namespace {

using namespace Mirk;
using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;

constexpr int PicturePixels = 256;
constexpr const char* VertexCode = R"(#version 330
in vec3 Coordinates;
uniform vec3 Place;
void main() {
    gl_Position = vec4(Place.xy + Place.z * Coordinates.xy, 0.0, 1.0);
}
)";
constexpr const char* FragmentCode = R"(#version 330
out vec4 color;
void main() { color = vec4(1.0); }
)";
const std::vector<FloatPoint> Corners{{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}};

/// The program is one for all polyps; the vertices are if the benchmark says so.
class Triangles : public Tentacles {
public:
    explicit Triangles(bool shareVertices) : _shareVertices(shareVertices) {}

    void insert(Polyp& polyp, VRenderContext& context) override {
        if (!_program) {
            _program = context.createProgram(VertexCode, FragmentCode, "triangle.vert",
                                             "triangle.frag", 1, 1, {}, {});
        }
        polyp.insert(_program);
        if (!_vertices || !_shareVertices) {
            _vertices = context.createCoordinates(
                RenderBasin::ChunkPtr(new Keel::Chunk<FloatPoint>(Corners)), "Coordinates");
        }
        polyp.insert(_vertices);
        polyp.insert(_vertices->createPainter(RenderNamespace::Triangles));
    }

private:
    const bool _shareVertices;
    RenderBasin::ProgramPtr _program;
    RenderBasin::VertexAttributePtr _vertices;
};

/// The same without the library.
class BareTriangles {
public:
    BareTriangles(std::size_t objects, bool shareVertices)
        : _program(glCreateProgram()), _arrays(shareVertices ? 1 : objects) {
        for (const auto& [type, code] :
             {std::pair(GL_VERTEX_SHADER, VertexCode), {GL_FRAGMENT_SHADER, FragmentCode}}) {
            const GLuint shader = glCreateShader(static_cast<GLenum>(type));
            glShaderSource(shader, 1, &code, nullptr);
            glCompileShader(shader);
            glAttachShader(_program, shader);
        }
        glLinkProgram(_program);
        _place = glGetUniformLocation(_program, "Place");
        const auto location = static_cast<GLuint>(glGetAttribLocation(_program, "Coordinates"));
        glCreateVertexArrays(static_cast<GLsizei>(_arrays.size()), _arrays.data());
        for (const GLuint array : _arrays) {
            GLuint buffer = 0;
            glCreateBuffers(1, &buffer);
            glNamedBufferData(buffer, static_cast<GLsizeiptr>(Corners.size() * sizeof(FloatPoint)),
                              Corners.data(), GL_STATIC_DRAW);
            glVertexArrayVertexBuffer(array, 0, buffer, 0, sizeof(FloatPoint));
            glVertexArrayAttribFormat(array, location, 3, GL_FLOAT, GL_FALSE, 0);
            glVertexArrayAttribBinding(array, location, 0);
            glEnableVertexArrayAttrib(array, location);
        }
    }
    void draw(const std::vector<Place>& places) const {
        glUseProgram(_program);
        glBindVertexArray(_arrays[0]);
        const bool eachHasItsOwn = _arrays.size() > 1;
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (eachHasItsOwn) glBindVertexArray(_arrays[i]);
            glUniform3fv(_place, 1, places[i].data());
            glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(Corners.size()));
        }
        glBindVertexArray(0);
        glUseProgram(0);
    }

private:
    GLuint _program;
    std::vector<GLuint> _arrays;
    GLint _place = -1;
};

class Frame {
public:
    Frame(int objects, int visibleOf, bool shareVertices)
        : tentacles(shareVertices),
          content(objects, visibleOf, tentacles),
          bare(content.places.size(), shareVertices) {
        checkErrors(false);
        context.pool = Keel::make<ValuePool>();
        context.setTargets({&picture});
        GLRenderContext::Eye eye;
        eye.camera.position = {0, 0, 1};
        eye.camera.lookAt = {0, 0, 0};
        eye.camera.up = {0, 1, 0};
        eye.camera.fieldOfView = 90; // at the distance of 1 it sees from -1 to 1
        context.setEyes({eye});
        draw();
        const std::vector<std::uint8_t> drawn = pixels();
        const auto visible = static_cast<std::size_t>((objects + visibleOf - 1) / visibleOf);
        if (context.numberOfDrawn() != visible) fail("not all that is visible is drawn");
        drawBare();
        if (pixels() != drawn) fail("the bare loop draws something else");
    }
    void checkErrors(bool enabled) { context.factory().setErrorChecks(enabled); }
    void draw() {
        clear();
        double seconds = 0;
        content.scene.render(context, seconds, INT_MIN, INT_MAX);
        picture.finish();
    }
    void drawBare() const {
        clear();
        bare.draw(content.places);
        picture.finish();
    }

private:
    void clear() const {
        picture.clear({0, 0, 0, 1});
        picture.bind();
    }
    std::vector<std::uint8_t> pixels() const {
        std::vector<std::uint8_t> bytes(std::size_t{4} * PicturePixels * PicturePixels);
        picture.readColors(bytes);
        return bytes;
    }

    EglContext& gl = graphics();
    const Keel::StrongPtr<Seagrass> seagrass = Keel::make<Seagrass>(~0ULL, "frame");
    GLRenderContext context{gl, seagrass, Keel::WeakPtr<VRenderInterruptor>(), {}, LLONG_MAX};
    GLFramebuffer picture{gl, PicturePixels, PicturePixels, 1};
    Triangles tentacles;
    FrameScene content;
    BareTriangles bare;
};

/// One for each scene, for all repetitions; it ends with the process.
Frame& frameOf(int objects, int visibleOf, bool shareVertices) {
    static std::map<std::tuple<int, int, bool>, Frame*> frames;
    Frame*& frame = frames[{objects, visibleOf, shareVertices}];
    if (frame == nullptr) frame = new Frame(objects, visibleOf, shareVertices);
    return *frame;
}

/// At most 1.25 times the time of the loop. Arguments: number of objects, all of which are visible,
/// and whether they share their vertices. Nanoseconds are for each object.
void Frame_opengl(benchmark::State& state) {
    Frame& frame = frameOf(static_cast<int>(state.range(0)), 1, state.range(1) != 0);
    sideBySide(
        state, static_cast<double>(state.range(0)), [&] { frame.draw(); },
        [&] { frame.drawBare(); });
}
BENCHMARK(Frame_opengl)
    ->ArgNames({"objects", "share"})
    ->ArgsProduct({{1000, 10000, 50000}, {0, 1}})
    ->Apply(withSpread)
    ->Iterations(5)
    ->Repetitions(15);

/// With the question for errors of OpenGL behind each tentacle; the reference is the same frame
/// without. Nanoseconds are for each object.
void Frame_checked(benchmark::State& state) {
    constexpr int objects = 10000;
    Frame& frame = frameOf(objects, 1, false);
    const auto draw = [&](bool checksErrors) {
        frame.checkErrors(checksErrors);
        frame.draw();
    };
    sideBySide(
        state, objects, [&] { draw(true); }, [&] { draw(false); });
}
BENCHMARK(Frame_checked)->Apply(withSpread)->Iterations(5)->Repetitions(15);

/// What an object outside of the view costs, at most a fifth of one that is drawn, which is the
/// reference: of 10,000 objects a tenth is visible. Both are worked out from this frame and from
/// one of that tenth alone, in nanoseconds for each object.
void Frame_culled(benchmark::State& state) {
    constexpr int objects = 10000, visibleOf = 10, drawn = objects / visibleOf;
    Frame& all = frameOf(objects, visibleOf, true);
    Frame& visible = frameOf(drawn, 1, true);
    double allTime = 0, visibleTime = 0, frames = 0;
    for (auto _ : state) {
        const double time = nanoseconds([&] { all.draw(); });
        allTime += time;
        visibleTime += nanoseconds([&] { visible.draw(); });
        ++frames;
        state.SetIterationTime(time * 1e-9);
    }
    const double culled = (allTime - visibleTime) / (frames * (objects - drawn));
    report(state, culled, visibleTime / (frames * drawn));
}
BENCHMARK(Frame_culled)->Apply(withSpread)->Iterations(10)->Repetitions(15);

} // namespace
