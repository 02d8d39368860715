#pragma once
// An OpenGL 4.5 context, wherever it comes from: what it can do, on which thread it is current and
// which objects live in it. Stands on libOpenGL; EglContext and contexts of windows derive from it.

#include <PolypiaGL/ObjectLedger.hpp>
#include <PolypiaGL/Profile.hpp>
#include <PolypiaGL/export.hpp>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace Mirk {

/// Limits of a context, as the driver gives them. Sizes in pixels or texels, else bytes.
struct GLLimits {
    std::array<int, 2> maxViewportSize{};
    int maxViewports = 0;
    int maxTextureSize = 0;
    int max3DTextureSize = 0;
    int maxArrayTextureLayers = 0;
    int maxTextureBufferTexels = 0;
    int maxTextureUnits = 0; ///< of all stages together
    int maxRenderbufferSize = 0;
    int maxFramebufferLayers = 0;
    int maxColorAttachments = 0;
    int maxSamples = 0;
    int maxVertexAttributes = 0;
    int maxClipDistances = 0;
    int maxGeometryOutputVertices = 0;
    int maxGeometryOutputComponents = 0; ///< of all vertices of one invocation together
    int maxUniformBlockBytes = 0;
    int maxUniformBindings = 0;
    int uniformOffsetAlignment = 0;
    std::int64_t maxStorageBlockBytes = 0;
    int maxStorageBindings = 0;
    int storageOffsetAlignment = 0;
    int maxWorkGroupInvocations = 0;
    std::array<int, 3> maxWorkGroups{};
    std::array<int, 3> maxWorkGroupSize{};
    int programBinaryFormats = 0; ///< 0: the driver gives no program binaries
};

/// A message of the driver, by OpenGL's numbers.
struct GLDebugMessage {
    unsigned source = 0;
    unsigned type = 0;
    unsigned id = 0;
    unsigned severity = 0;
    std::string text;
};

/// Belongs to no thread of its own, but is current on one at most at a time. What asks OpenGL needs
/// it current; the answers below were taken when it was made and may be read anywhere.
class POLYPIAGL_EXPORT GLContext {
public:
    /// Makes a context current on this thread and at its end what was current before, contexts of
    /// this class only. Costs next to nothing where the context is current already. A failure to
    /// go back is printed.
    class POLYPIAGL_EXPORT Scope {
    public:
        explicit Scope(GLContext& context);
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope();

    private:
        GLContext* _entered = nullptr; // null if it was current before
        GLContext* _previous = nullptr;
    };

    GLContext(const GLContext&) = delete;
    GLContext& operator=(const GLContext&) = delete;

    /// Prints the kinds and numbers of objects that still live in it. Derived classes give their
    /// native context back first.
    virtual ~GLContext();

    /// The context that is current on this thread, null without one.
    static GLContext* current();

    /// Throws ContextError if the driver refuses or if it is current on another thread.
    void makeCurrent();
    /// Does nothing unless the context is current on this thread.
    void release() noexcept;
    bool isCurrent() const { return current() == this; }
    /// The thread that it is current on, empty without one.
    std::optional<std::thread::id> currentThread() const;

    std::array<int, 2> version() const { return _version; } ///< major and minor
    GL::Profile profile() const { return _profile; }
    const std::string& vendor() const { return _vendor; }
    const std::string& renderer() const { return _renderer; }
    const GLLimits& limits() const { return _limits; }
    const std::set<std::string, std::less<>>& extensions() const { return _extensions; }
    bool hasExtension(std::string_view name) const { return _extensions.contains(name); }
    /// True if the driver draws on the CPU.
    bool isSoftware() const { return _isSoftware; }
    /// A function of OpenGL or of an extension of it that the context has; of other names it may be
    /// null or useless. Any thread.
    using Function = void (*)();
    virtual Function function(const char* name) const = 0;
    /// One line for a log: renderer, version and profile.
    std::string description() const;

    /// What the depth buffers of framebuffers hold that are made in this context.
    enum class Depths {
        Usual,    ///< 24 bits, from 0 at the near plane to 1 at the far one
        Reversed, ///< floats, from 1 to 0: as fine a part of the distance everywhere
    };
    /// Has all that this backend draws and tells follow, matrices in shaders included. To be set
    /// ahead of the first framebuffer and frame, with the context current. What computes depths of
    /// its own, clears them, or sets a depth function, has to know; reversed clip space has depths
    /// from 0 to w.
    void setDepths(Depths depths);
    Depths depths() const { return _depths; }

    /// Collects the driver's messages from now on; only contexts that were made for it give useful
    /// ones. Needs the context current.
    void collectDebugMessages();
    /// Takes what was collected, oldest first; the first 1000 since the last call are kept.
    std::vector<GLDebugMessage> takeDebugMessages();

    /// Live objects that were made in this context. The ledger may outlive the context.
    const std::shared_ptr<GL::ObjectLedger>& ledger() const { return _ledger; }

protected:
    /// `shared`: the context to share objects with, or null.
    explicit GLContext(const GLContext* shared);

    /// Asks the driver for all that is told above; called once by the most derived class, with the
    /// context current. Throws ContextError below version 4.5. `isSoftwareDevice`: known from
    /// elsewhere; the renderer's name tells as well.
    void readProperties(bool isSoftwareDevice);

private:
    /// Makes the native context current on this thread; false with a reason if that fails.
    virtual bool bind(std::string& reason) = 0;
    /// Leaves the thread without a native context; false if that fails.
    virtual bool unbind() noexcept = 0;

    bool tryMakeCurrent(std::string& reason);
    void readLimits();
    void addDebugMessage(GLDebugMessage message);

    std::shared_ptr<GL::ObjectLedger> _ledger;
    std::atomic<std::thread::id> _thread;
    std::array<int, 2> _version{};
    GL::Profile _profile = GL::Profile::Core;
    std::string _vendor;
    std::string _renderer;
    GLLimits _limits;
    std::set<std::string, std::less<>> _extensions;
    bool _isSoftware = false;
    Depths _depths = Depths::Usual;
    std::mutex _debugMutex; // drivers may call from threads of their own
    std::vector<GLDebugMessage> _debugMessages;
};

} // namespace Mirk
