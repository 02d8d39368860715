#include <PolypiaGL/GLContext.hpp>

#include "glFixture.hpp"

#include <PolypiaGL/ObjectId.hpp>
#include <PolypiaGL/glErrors.hpp>
#include <PolypiaGL/glHeaders.hpp>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <thread>
#include <type_traits>
#include <utility>

using namespace Mirk;
using GLTest::tryContext;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class GLContextTest : public testing::Test {
protected:
    void SetUp() override {
        // A death test runs the whole test anew in a process of its own, threads and all.
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        EglContext::Options options;
        options.debug = true;
        std::string reason;
        context = tryContext(options, reason);
        if (!context) POLYPIA_NO_CONTEXT(reason);
    }

    void TearDown() override {
        if (!context) return;
        const GLContext::Scope scope(*context);
        for (const GL::Error& error : GL::drainErrors("the test")) ADD_FAILURE() << error.text();
    }

    std::unique_ptr<EglContext> context;
};

TEST_F(GLContextTest, IsOfVersion45OrLater) {
    EXPECT_GE(context->version(), (std::array<int, 2>{4, 5}));
    EXPECT_THAT(context->renderer(), Not(IsEmpty()));
    EXPECT_THAT(context->vendor(), Not(IsEmpty()));
    EXPECT_THAT(context->source(), Not(IsEmpty()));
    EXPECT_THAT(context->description(), StartsWith(context->renderer() + ", OpenGL 4."));
}

TEST_F(GLContextTest, ComesInTheProfileAskedFor) {
    for (const GL::Profile profile : {GL::Profile::Core, GL::Profile::Compatibility}) {
        EglContext::Options options;
        options.profile = profile;
        std::string reason;
        const auto other = tryContext(options, reason);
        if (!other && profile == GL::Profile::Compatibility)
            POLYPIA_NO_CONTEXT("no compatibility profile here: " + reason);
        ASSERT_TRUE(other) << reason;
        EXPECT_EQ(other->profile(), profile);
        const GLContext::Scope scope(*other);
        glMatrixMode(GL_MODELVIEW); // exists in the one profile only
        EXPECT_EQ(GL::drainErrors("glMatrixMode").empty(), profile == GL::Profile::Compatibility);
    }
}

TEST_F(GLContextTest, KnowsLimitsOfVersion45) {
    const GLLimits& limits = context->limits(); // least values are those of the standard
    EXPECT_GE(limits.maxTextureSize, 16384);
    EXPECT_GE(limits.maxViewportSize[0], limits.maxRenderbufferSize);
    EXPECT_GE(limits.maxViewportSize[1], limits.maxRenderbufferSize);
    EXPECT_GE(limits.maxViewports, 16);
    EXPECT_GE(limits.max3DTextureSize, 2048);
    EXPECT_GE(limits.maxArrayTextureLayers, 2048);
    EXPECT_GE(limits.maxTextureBufferTexels, 65536);
    EXPECT_GE(limits.maxTextureUnits, 96);
    EXPECT_GE(limits.maxRenderbufferSize, 16384);
    EXPECT_GE(limits.maxFramebufferLayers, 2048);
    EXPECT_GE(limits.maxColorAttachments, 8);
    EXPECT_GE(limits.maxSamples, 4);
    EXPECT_GE(limits.maxVertexAttributes, 16);
    EXPECT_GE(limits.maxClipDistances, 8);
    EXPECT_GE(limits.maxGeometryOutputVertices, 256);
    EXPECT_GE(limits.maxGeometryOutputComponents, 1024);
    EXPECT_GE(limits.maxUniformBlockBytes, 16384);
    EXPECT_GE(limits.maxUniformBindings, 84);
    EXPECT_GE(limits.uniformOffsetAlignment, 1);
    EXPECT_LE(limits.uniformOffsetAlignment, 256);
    EXPECT_GE(limits.maxStorageBlockBytes, 1 << 27);
    EXPECT_GE(limits.maxStorageBindings, 8);
    EXPECT_GE(limits.storageOffsetAlignment, 1);
    EXPECT_GE(limits.maxWorkGroupInvocations, 1024);
    EXPECT_GE(limits.maxWorkGroups[2], 65535);
    EXPECT_GE(limits.maxWorkGroupSize[2], 64);
    EXPECT_GE(limits.programBinaryFormats, 0);
}

TEST_F(GLContextTest, KnowsItsExtensions) {
    EXPECT_TRUE(context->hasExtension("GL_KHR_debug"));
    EXPECT_FALSE(context->hasExtension("GL_KHR_debu"));
    EXPECT_TRUE(context->extensions().contains("GL_KHR_debug"));
}

TEST_F(GLContextTest, KnowsASoftwareDriver) {
    const bool isLlvmpipe = context->renderer().find("llvmpipe") != std::string::npos;
    const bool isNvidia = context->vendor().find("NVIDIA") != std::string::npos;
    if (!isLlvmpipe && !isNvidia) GTEST_SKIP() << "unknown renderer " << context->renderer();
    EXPECT_EQ(context->isSoftware(), isLlvmpipe);
}

TEST_F(GLContextTest, IsCurrentWithinAScopeOnly) {
    EXPECT_EQ(GLContext::current(), nullptr);
    EXPECT_FALSE(context->currentThread());
    {
        const GLContext::Scope scope(*context);
        EXPECT_EQ(GLContext::current(), context.get());
        EXPECT_TRUE(context->isCurrent());
        EXPECT_EQ(context->currentThread(), std::this_thread::get_id());
        {
            const GLContext::Scope again(*context);
            EXPECT_TRUE(context->isCurrent());
        }
        EXPECT_TRUE(context->isCurrent());
        EXPECT_NE(glGetString(GL_RENDERER), nullptr);
    }
    EXPECT_EQ(GLContext::current(), nullptr);
    EXPECT_FALSE(context->currentThread());
}

TEST_F(GLContextTest, ScopeGoesBackToTheContextBefore) {
    const auto other = context->createShared();
    const GLContext::Scope outer(*context);
    GLuint mine = 0;
    glGenVertexArrays(1, &mine);
    glBindVertexArray(mine);
    {
        const GLContext::Scope inner(*other);
        EXPECT_TRUE(other->isCurrent());
        EXPECT_FALSE(context->currentThread());
        GLint bound = -1;
        glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &bound);
        EXPECT_EQ(bound, 0);
    }
    EXPECT_TRUE(context->isCurrent());
    EXPECT_FALSE(other->currentThread());
    GLint bound = -1;
    glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &bound);
    EXPECT_EQ(bound, static_cast<GLint>(mine));
    glDeleteVertexArrays(1, &mine);
}

TEST_F(GLContextTest, MakingAnotherContextLeavesTheCurrentOne) {
    const GLContext::Scope scope(*context);
    const auto other = context->createShared();
    EXPECT_TRUE(context->isCurrent());
    EXPECT_FALSE(other->currentThread());
    EXPECT_NE(glGetString(GL_RENDERER), nullptr);
}

TEST_F(GLContextTest, RefusesASecondThread) {
    const GLContext::Scope scope(*context);
    std::string message;
    std::thread([&] {
        EXPECT_EQ(GLContext::current(), nullptr);
        EXPECT_NE(context->currentThread(), std::this_thread::get_id());
        try {
            context->makeCurrent();
        } catch (const ContextError& error) {
            message = error.what();
        }
        EXPECT_FALSE(context->isCurrent());
        context->release(); // not its business
    }).join();
    EXPECT_EQ(message, "GLContext::makeCurrent: the context is current on another thread");
    EXPECT_TRUE(context->isCurrent());
    EXPECT_NE(glGetString(GL_RENDERER), nullptr);
}

TEST_F(GLContextTest, MovesFromThreadToThread) {
    { const GLContext::Scope scope(*context); }
    std::thread([&] {
        const GLContext::Scope scope(*context);
        EXPECT_NE(glGetString(GL_RENDERER), nullptr);
    }).join();
    const GLContext::Scope scope(*context);
    EXPECT_TRUE(context->isCurrent());
}

TEST_F(GLContextTest, SharedContextSeesATexture) {
    const auto other = context->createShared();
    EXPECT_EQ(other->profile(), context->profile());
    const GLContext::Scope scope(*context);
    const unsigned char written[4] = {1, 2, 3, 4};
    GL::TextureId texture = GL::createTexture(GL_TEXTURE_2D);
    glTextureStorage2D(texture.number(), 1, GL_RGBA8, 1, 1);
    glTextureSubImage2D(texture.number(), 0, 0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, written);
    glFinish();
    {
        const GLContext::Scope inner(*other);
        unsigned char read[4] = {};
        glGetTextureImage(texture.number(), 0, GL_RGBA, GL_UNSIGNED_BYTE, sizeof read, read);
        EXPECT_THAT(read, testing::ElementsAre(1, 2, 3, 4));
        EXPECT_THAT(GL::drainErrors("glGetTextureImage"), IsEmpty());
        texture.reset(); // any context of the group may free it
    }
    EXPECT_EQ(context->ledger()->live(), 0);
}

TEST_F(GLContextTest, DebugMessagesAreCollected) {
    const GLContext::Scope scope(*context);
    context->takeDebugMessages();
    glEnable(0xdead);
    EXPECT_EQ(GL::drainErrors("glEnable").size(), 1u);
    const auto messages = context->takeDebugMessages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages[0].type, static_cast<unsigned>(GL_DEBUG_TYPE_ERROR));
    EXPECT_THAT(messages[0].text, HasSubstr("glEnable"));
    EXPECT_THAT(context->takeDebugMessages(), IsEmpty());
}

TEST_F(GLContextTest, DebugMessagesAreOffUnlessAskedFor) {
    const auto other = EglContext::create();
    const GLContext::Scope scope(*other);
    glEnable(0xdead);
    EXPECT_EQ(GL::drainErrors("glEnable").size(), 1u);
    EXPECT_THAT(other->takeDebugMessages(), IsEmpty());
}

// -------------------------------------------------------------------------------------------------

TEST_F(GLContextTest, ErrorsAreDrainedWithTheNameOfTheCall) {
    const GLContext::Scope scope(*context);
    glEnable(0xdead);
    const auto errors = GL::drainErrors("glEnable");
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].code, static_cast<unsigned>(GL_INVALID_ENUM));
    EXPECT_EQ(errors[0].text(), "glEnable: GL_INVALID_ENUM (0x500)");
    EXPECT_THAT(GL::drainErrors("nothing"), IsEmpty());
}

// -------------------------------------------------------------------------------------------------

TEST_F(GLContextTest, IdsAreCountedByKind) {
    const GLContext::Scope scope(*context);
    const auto& ledger = *context->ledger();
    {
        const GL::BufferId buffer = GL::createBuffer();
        const GL::TextureId texture = GL::createTexture(GL_TEXTURE_1D);
        const GL::TextureId second = GL::createTexture(GL_TEXTURE_2D);
        const GL::SamplerId sampler = GL::createSampler();
        const GL::RenderbufferId renderbuffer = GL::createRenderbuffer();
        const GL::ShaderId shader = GL::createShader(GL_VERTEX_SHADER);
        const GL::ProgramId program = GL::createProgram();
        const GL::FramebufferId framebuffer = GL::createFramebuffer();
        const GL::VertexArrayId vertexArray = GL::createVertexArray();
        const GL::QueryId query = GL::createQuery(GL_TIME_ELAPSED);
        const GL::QueryId secondQuery = GL::createQuery(GL_TIME_ELAPSED);
        EXPECT_TRUE(glIsTexture(texture.number()));
        EXPECT_TRUE(glIsProgram(program.number()));
        EXPECT_EQ(ledger.live(GL::ObjectKind::Texture), 2);
        EXPECT_EQ(ledger.live(), 11);
        EXPECT_EQ(ledger.report(),
                  "1 buffer, 2 textures, 1 sampler, 1 renderbuffer, 1 shader, 1 program, "
                  "1 framebuffer, 1 vertex array, 2 queries");
    }
    EXPECT_EQ(ledger.live(), 0);
    EXPECT_EQ(ledger.report(), "");
}

TEST_F(GLContextTest, DestroyedIdsAreFreedInTheDriver) {
    const GLContext::Scope scope(*context);
    unsigned number = 0;
    {
        const GL::FramebufferId framebuffer = GL::createFramebuffer();
        number = framebuffer.number();
        EXPECT_TRUE(glIsFramebuffer(number));
    }
    EXPECT_FALSE(glIsFramebuffer(number));
}

TEST_F(GLContextTest, MovedIdsAreFreedOnce) {
    static_assert(!std::is_copy_constructible_v<GL::BufferId>);
    static_assert(std::is_nothrow_move_constructible_v<GL::BufferId>);
    static_assert(std::is_nothrow_move_assignable_v<GL::BufferId>);
    const GLContext::Scope scope(*context);
    GL::BufferId first = GL::createBuffer();
    const unsigned number = first.number();
    GL::BufferId second = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(second.number(), number);
    EXPECT_EQ(context->ledger()->live(), 1);

    GL::BufferId third = GL::createBuffer();
    const unsigned replaced = third.number();
    third = std::move(second);
    EXPECT_EQ(third.number(), number);
    EXPECT_FALSE(glIsBuffer(replaced));
    EXPECT_TRUE(glIsBuffer(number));

    GL::BufferId& self = third;
    third = std::move(self);
    EXPECT_EQ(third.number(), number);
    EXPECT_EQ(context->ledger()->live(), 1);
}

TEST_F(GLContextTest, RefusedObjectIsEmptyAndUncounted) {
    const GLContext::Scope scope(*context);
    const GL::ShaderId shader = GL::createShader(0xdead);
    EXPECT_FALSE(shader);
    EXPECT_EQ(context->ledger()->live(), 0);
    EXPECT_EQ(GL::drainErrors("glCreateShader").size(), 1u);
}

TEST_F(GLContextTest, EmptyIdNeedsNoContext) {
    GL::BufferId id;
    id.reset();
    EXPECT_EQ(id.number(), 0u);
}

TEST_F(GLContextTest, LeftObjectsAreNamedWhenTheContextEnds) {
    const auto other = context->createShared();
    const GLContext::Scope scope(*other);
    auto shortLived = context->createShared();
    const auto ledger = shortLived->ledger();
    GL::TextureId one, two;
    GL::BufferId three;
    {
        const GLContext::Scope inner(*shortLived);
        one = GL::createTexture(GL_TEXTURE_2D);
        two = GL::createTexture(GL_TEXTURE_2D);
        three = GL::createBuffer();
    }
    testing::internal::CaptureStderr();
    shortLived.reset();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "PolypiaGL: the context ends while objects live in it: 1 buffer, 2 textures\n");
    EXPECT_EQ(ledger->live(), 3);
    one.reset(); // the group still has them
    two.reset();
    three.reset();
    EXPECT_EQ(ledger->live(), 0);
}

TEST_F(GLContextTest, NothingIsSaidWhenAllObjectsAreGone) {
    auto other = context->createShared();
    {
        const GLContext::Scope scope(*other);
        const GL::BufferId buffer = GL::createBuffer();
    }
    testing::internal::CaptureStderr();
    other.reset();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

using GLContextDeathTest = GLContextTest;

TEST_F(GLContextDeathTest, FreeingWithoutACurrentContextStops) {
    EXPECT_DEATH(
        {
            GL::BufferId buffer;
            {
                const GLContext::Scope scope(*context);
                buffer = GL::createBuffer();
            }
            buffer.reset();
        },
        "PolypiaGL: buffer [0-9]+ is freed where no context is current on the thread");
}

TEST_F(GLContextDeathTest, FreeingUnderAStrangerStops) {
    EXPECT_DEATH(
        {
            const auto stranger = EglContext::create();
            GL::BufferId buffer;
            {
                const GLContext::Scope scope(*context);
                buffer = GL::createBuffer();
            }
            const GLContext::Scope scope(*stranger);
            buffer.reset();
        },
        "PolypiaGL: buffer [0-9]+ is freed where a context that does not reach it is current");
}

TEST_F(GLContextDeathTest, FreeingWhatContextsDoNotShareStops) {
    EXPECT_DEATH(
        {
            const auto other = context->createShared();
            GL::VertexArrayId vertexArray;
            {
                const GLContext::Scope scope(*context);
                vertexArray = GL::createVertexArray();
            }
            const GLContext::Scope scope(*other);
            vertexArray.reset();
        },
        "PolypiaGL: vertex array [0-9]+ is freed where a context that does not reach it");
}

TEST_F(GLContextDeathTest, FreeingBehindTheContextsEndStops) {
    EXPECT_DEATH(
        {
            GL::BufferId buffer;
            auto other = EglContext::create();
            {
                const GLContext::Scope scope(*other);
                buffer = GL::createBuffer();
            }
            other.reset();
            buffer.reset();
        },
        "1 buffer\n.*is freed where no context is current");
}

TEST_F(GLContextDeathTest, MakingAnObjectWithoutAContextStops) {
    EXPECT_DEATH(GL::createTexture(GL_TEXTURE_2D),
                 "PolypiaGL: no context is current on the thread that makes a texture");
}

// -------------------------------------------------------------------------------------------------
// Machines without EGL, without a driver, without the device. The loader reads its environment
// once, so each of these runs in a process of its own.

std::string reasonsOf(const EglContext::Options& options) {
    std::string reason;
    return tryContext(options, reason) ? "made a context" : reason;
}

TEST(EglContext, WithoutTheLibraryThereIsOneMessage) {
    EglContext::Options options;
    options.library = "libNoSuchEGL.so.1";
    EXPECT_THAT(reasonsOf(options),
                StartsWith("EglContext::create: no OpenGL 4.5 context:\n"
                           "  no EGL library: libNoSuchEGL.so.1: cannot open shared object file"));
}

TEST(EglContext, LibraryThatIsNoEglIsNamed) {
    EglContext::Options options;
    options.library = "libc.so.6";
    EXPECT_THAT(reasonsOf(options), HasSubstr("the EGL library has no function eglGetProcAddress"));
}

class EglContextDeathTest : public testing::Test {
protected:
    void SetUp() override {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        // Opens no driver: the process that a test runs in still sees its environment.
        void* library = dlopen("libEGL.so.1", RTLD_LAZY);
        if (!library) POLYPIA_NO_CONTEXT("no libEGL.so.1");
        dlclose(library);
    }

    [[noreturn]] static void printReasons(const char* variable, const char* value,
                                          const EglContext::Options& options) {
        setenv(variable, value, 1);
        std::fputs(reasonsOf(options).c_str(), stderr);
        std::_Exit(0);
    }
};

TEST_F(EglContextDeathTest, WithoutADriverEachTryHasItsReason) {
    EXPECT_EXIT(
        printReasons("__EGL_VENDOR_LIBRARY_FILENAMES", "/nonexistent.json", {}),
        testing::ExitedWithCode(0),
        "no OpenGL 4.5 context:\n  EGL without a driver .no vendor file in egl_vendor.d; in "
        "a container the NVIDIA graphics capability may be missing.\n  default display: ");
}

TEST_F(EglContextDeathTest, ChosenDeviceWithoutADriverHasItsReason) {
    EglContext::Options options;
    options.device = "0";
    EXPECT_EXIT(printReasons("__EGL_VENDOR_LIBRARY_FILENAMES", "/nonexistent.json", options),
                testing::ExitedWithCode(0),
                "context:\n  device 0: EGL knows 0 devices\n  EGL without a driver");
}

TEST_F(EglContextDeathTest, SurfacelessWithoutADriverHasItsReason) {
    EglContext::Options options;
    options.device = "surfaceless";
    EXPECT_EXIT(printReasons("__EGL_VENDOR_LIBRARY_FILENAMES", "/nonexistent.json", options),
                testing::ExitedWithCode(0),
                "context:\n  surfaceless: EGL does not offer it\n  EGL without a driver");
}

TEST_F(EglContextDeathTest, RefusedVersionIsNamedForEachTry) {
    if (!testing::internal::InDeathTestChild()) {
        std::string reason;
        const auto context = tryContext({}, reason);
        if (!context) POLYPIA_NO_CONTEXT(reason);
        if (context->renderer().find("llvmpipe") == std::string::npos)
            GTEST_SKIP() << "only Mesa takes its version from the environment";
    }
    EXPECT_EXIT(printReasons("MESA_GL_VERSION_OVERRIDE", "3.3", {}), testing::ExitedWithCode(0),
                "surfaceless: OpenGL 4.5 compatibility refused, EGL_BAD_MATCH .0x3009.\n"
                "  surfaceless: OpenGL 4.5 core refused, EGL_BAD_MATCH .0x3009.\n");
}

TEST_F(EglContextDeathTest, DeviceThatCannotBeUsedSaysWhatToCheck) {
    std::string reason;
    if (!testing::internal::InDeathTestChild() && !tryContext({}, reason))
        POLYPIA_NO_CONTEXT(reason);
    EglContext::Options options;
    options.device = "0";
    options.library = FAKE_EGL_LIBRARY;
    EXPECT_EXIT(printReasons("FAKE_EGL", "no access", options), testing::ExitedWithCode(0),
                "device 0 .*: initialise failed, EGL_BAD_PARAMETER .0x300c.; check access to its "
                "device nodes$");
}

TEST_F(EglContextDeathTest, SurfaceOfOnePixelServesWhereNoneIsNotAllowed) {
    std::string reason;
    if (!testing::internal::InDeathTestChild() && !tryContext({}, reason))
        POLYPIA_NO_CONTEXT(reason);
    EglContext::Options options;
    options.library = FAKE_EGL_LIBRARY;
    EXPECT_EXIT(
        {
            setenv("FAKE_EGL", "needs surface", 1);
            const auto context = EglContext::create(options);
            const auto shared = context->createShared();
            const GLContext::Scope scope(*shared);
            std::fprintf(stderr, "%s with %zu errors", context->description().c_str(),
                         GL::drainErrors("createShared").size());
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "OpenGL 4.[56] [a-z]+ with 0 errors");
}

TEST_F(EglContextDeathTest, ChoiceThatIsNoneSaysWhatIsExpected) {
    EglContext::Options options;
    for (const std::string choice : {"banana", "-1", "1x", "99999999999999999999999"}) {
        options.device = choice;
        EXPECT_THAT(
            reasonsOf(options),
            HasSubstr("\n  expected a device number, \"surfaceless\" or \"default\", got \"" +
                      choice + "\""));
    }
    options.device = "999";
    EXPECT_THAT(reasonsOf(options), ContainsRegex("\n  device 999: EGL knows [0-9]+ device"));
}

TEST_F(EglContextDeathTest, ChosenSourceIsTheOneUsed) {
    for (const std::string choice : {"0", "surfaceless"}) {
        EglContext::Options options;
        options.device = choice;
        std::string reason;
        const auto context = tryContext(options, reason);
        if (!context) POLYPIA_NO_CONTEXT(reason);
        EXPECT_THAT(context->source(), StartsWith(choice == "0" ? "device 0 (" : "surfaceless"));
    }
}

// -------------------------------------------------------------------------------------------------

TEST(ContextError, TellsAllReasonsInOneMessage) {
    EXPECT_STREQ(ContextError("no context", {"a: b", "c: d"}).what(),
                 "no context:\n  a: b\n  c: d");
    EXPECT_STREQ(ContextError("no context").what(), "no context");
    EXPECT_EQ(ContextError("no", {"a"}).reasons(), std::vector<std::string>{"a"});
}

TEST(glErrors, EveryCodeHasItsName) {
    const std::pair<unsigned, const char*> names[] = {
        {0, "GL_NO_ERROR"},
        {0x500, "GL_INVALID_ENUM"},
        {0x501, "GL_INVALID_VALUE"},
        {0x502, "GL_INVALID_OPERATION"},
        {0x503, "GL_STACK_OVERFLOW"},
        {0x504, "GL_STACK_UNDERFLOW"},
        {0x505, "GL_OUT_OF_MEMORY"},
        {0x506, "GL_INVALID_FRAMEBUFFER_OPERATION"},
        {0x507, "GL_CONTEXT_LOST"},
        {0x8031, "GL_TABLE_TOO_LARGE"},
        {0x1234, "unknown OpenGL error 0x1234"},
    };
    for (const auto& [code, name] : names) EXPECT_EQ(GL::errorName(code), name);
}

} // namespace
