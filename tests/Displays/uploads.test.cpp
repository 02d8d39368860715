// What display objects bring to a driver in each frame, and what becomes of it without memory.

#include "displayPictures.hpp"

#include <PolypiaGL/glHeaders.hpp>

#include <dlfcn.h>

using namespace Pictures;

namespace {

struct Memory {
    long long uploadedBytes = 0;
    long long largest = -1; ///< buffers beyond that find no memory; none if below 0
};
Memory memory;

} // namespace

/// Stands in for the driver's.
extern "C" void glNamedBufferData(GLuint buffer, GLsizeiptr bytes, const void* data, GLenum usage) {
    using Function = void (*)(GLuint, GLsizeiptr, const void*, GLenum);
    static const auto driver = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "glNamedBufferData"));
    const bool isTooLarge = memory.largest >= 0 && bytes > memory.largest;
    // An error like any other.
    if (isTooLarge) return driver(buffer, -1, nullptr, usage);
    memory.uploadedBytes += bytes;
    driver(buffer, bytes, data, usage);
}

namespace {

constexpr std::size_t pieces = 3;
constexpr long long pieceBytes = DisplayObject::pieceVertices * 3 * sizeof(float);

/// A cloud in three pieces, with one point of each in front of the eye.
class Uploads : public DisplayPictures {
protected:
    void SetUp() override {
        memory = {};
        DisplayPictures::SetUp();
        if (!glContext) return;
        object = add<PointCloud>(cloudAt(-0.5));
        object->pointSize().set({}, 8.0);
        object->color().set({}, {0.0F, 1.0F, 0.0F, 1.0F});
    }
    void TearDown() override {
        object = {};
        DisplayPictures::TearDown();
        memory = {};
    }

    static PointSet cloudAt(double x) {
        std::vector<point> points(pieces * DisplayObject::pieceVertices, point{0, 0, 5});
        for (std::size_t piece = 0; piece < pieces; ++piece) {
            points[piece * DisplayObject::pieceVertices] = {x, 0, 0};
        }
        return cloud(points);
    }
    /// A frame, as the places where the cloud is drawn: -1 left, 1 right.
    std::vector<int> frame(long long allowance) {
        if (targets.empty()) {
            targets.push_back(std::make_unique<GLFramebuffer>(*glContext, size, size, 1));
        }
        context->renderAllowance = allowance;
        memory.uploadedBytes = 0;
        context->setTargets({targets.front().get()});
        targets.front()->clear({1.0F, 0.0F, 1.0F, 1.0F});
        context->setEyes({eyeAt({0, 0, 2}, 1, 10)});
        VRequest request(context->pool);
        request.process(*object, 1.0);
        ObjectSelection selection;
        selection.insert(0, Keel::WeakPtr<VObject, VManagedObjectBase>(object));
        double seconds = 0.0;
        testing::internal::CaptureStdout();
        result = context->renderObjects(selection, seconds, 0, 0);
        testing::internal::GetCapturedStdout();
        const Image image = imageOf(*targets.front());
        std::vector<int> places;
        if (image.isDrawn(24, 32)) places.push_back(-1);
        if (image.isDrawn(40, 32)) places.push_back(1);
        return places;
    }
    std::string report() const { return object->renderStatusSlot().value(context->pool).text; }

    Keel::StrongPtr<PointCloud, VManagedObjectBase> object;
};

using Places = std::vector<int>;

TEST_F(Uploads, FrameBringsNoMoreToTheGpuThanItsAllowance) {
    for (const double place : {-0.5, 0.5, -0.5}) {
        object->points().set({}, cloudAt(place));
        // A little is for what all pieces share.
        const long long allowance = pieceBytes + pieceBytes / 2;
        for (std::size_t piece = 0; piece < pieces; ++piece) {
            frame(allowance);
            EXPECT_LE(memory.uploadedBytes, allowance);
            EXPECT_GE(memory.uploadedBytes, pieceBytes);
        }
        frame(allowance);
        EXPECT_LT(memory.uploadedBytes, pieceBytes);
    }
}

TEST_F(Uploads, NewDataTakeThePlaceOfTheOldInOneFrame) {
    EXPECT_EQ(frame(1LL << 30), Places{-1});
    object->points().set({}, cloudAt(0.5));
    const long long allowance = pieceBytes + pieceBytes / 2;
    EXPECT_EQ(frame(allowance), Places{-1});
    EXPECT_EQ(frame(allowance), Places{-1});
    EXPECT_EQ(frame(allowance), Places{1});
}

TEST_F(Uploads, WithoutMemoryForNewDataTheOldStayAndTheReportIsMadeOnce) {
    EXPECT_EQ(frame(1LL << 30), Places{-1});
    object->points().set({}, cloudAt(0.5));
    memory.largest = pieceBytes / 2;
    EXPECT_EQ(frame(1LL << 30), Places{-1});
    EXPECT_EQ(context->failures().size(), 1U);
    EXPECT_NE(report(), "");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(frame(1LL << 30), Places{-1});
        EXPECT_TRUE(context->failures().empty());
        EXPECT_EQ(context->renderAllowance, 1LL << 30);
        EXPECT_NE(report(), "");
    }
    memory.largest = -1;
    EXPECT_EQ(frame(1LL << 30), Places{1});
    EXPECT_EQ(report(), "");
}

} // namespace
