#include <Polypia/VRenderObject.hpp>

#include "../keel/countedNew.hpp"
#include "../sorrel/Recorder.hpp"
#include "RecordingContext.hpp"
#include "memberOrder.hpp"

#include <sorrel/VRequest.hpp>
#include <sorrel/Vprintf.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <exception>
#include <functional>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using Mirk::RenderException;
using Mirk::ValuePool;
using Mirk::ValuePoolPtr;
using Mirk::VObjectStatus;
using Mirk::VRenderObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

namespace {

using BoxPtr = VRenderObject::BoundingBoxPtr;
using point = VRenderObject::point;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// Draws by a function.
class Drawn : public VRenderObject {
public:
    explicit Drawn(const std::string& objectName)
        : VObject(objectName, 4, {}), VRenderObject(objectName, 4, {}) {}

    using VRenderObject::environment_render;
    bool environment_render(Mirk::VRenderContext&) const override { return !action || action(); }
    bool update(Mirk::VRequest& request, double) override {
        ++updates;
        if (updating) updating(request.pool);
        return true;
    }

    std::function<bool()> action;
    std::function<void(const ValuePoolPtr&)> updating;
    int updates = 0;
};

class Sliced : public Drawn {
public:
    explicit Sliced(const std::string& objectName)
        : VObject(objectName, 0, {}), Drawn(objectName) {}
    using Drawn::environment_render;
    bool environment_render(Mirk::VRenderContext&, double begin, double end) const override {
        limits.assign({begin, end});
        return true;
    }
    mutable std::vector<double> limits;
};

/// An exception of a backend.
class DriverException : public RenderException {};

template<class Exception = RenderException>
Exception failure(const std::string& description, const std::string& log = {},
                  const std::string& file = "f") {
    Exception exception;
    exception.file = Keel::simplestring(file);
    exception.description = Keel::simplestring(description);
    exception.shaderLog = Keel::simplestring(log);
    return exception;
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t number = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++number;
    return number;
}

class VRenderObjectTest : public testing::Test {
protected:
    VRenderObjectTest() {
        object->renderStatusSlot()->parameter()->addNotifier(statusWatcher);
        object->boundingBoxOutput()->addNotifier(boxWatcher);
    }
    ~VRenderObjectTest() override { Mirk::VActionNotifier::clear(); }

    template<class Exception>
    void failWith(const Exception& exception) {
        object->action = [exception]() -> bool { throw exception; };
    }
    bool draw() { return object->safe_render(context, 0, -1); }
    /// What it prints.
    std::string drawAndListen() {
        CaptureStdout();
        EXPECT_TRUE(draw());
        return GetCapturedStdout();
    }
    VObjectStatus status(const ValuePoolPtr& asked) const {
        VObjectStatus read("unread");
        EXPECT_TRUE(object->renderStatusSlot().get(asked, read));
        return read;
    }
    std::string report() const { return status(pool).text; }
    /// The part of a report between the head and the file.
    std::string body(const std::string& description, const std::string& log) {
        failWith(failure(description, log));
        drawAndListen();
        const std::string text = report();
        const std::size_t begin = text.find("<B>") + 3;
        return text.substr(begin, text.find("</B>") - begin);
    }

    BoxPtr box() const { return BoxPtr(object->getBoundingBall(pool)); }
    /// The least and the greatest x of the box of these.
    std::vector<double> embracedX(const std::vector<double>& all) {
        object->resetBBox(pool);
        for (const double x : all) object->embrace(pool, {x, 0, 0});
        return {box()->min.x, box()->max.x};
    }

    RecordingContext context;
    const ValuePoolPtr pool = context.pool;
    const ValuePoolPtr other{new ValuePool};
    const Keel::StrongPtr<Drawn, Mirk::VManagedObjectBase> object{new Drawn("thing")};
    const WatcherPtr statusWatcher{new Watcher};
    const WatcherPtr boxWatcher{new Watcher};
};

TEST_F(VRenderObjectTest, HasItsBasesInTheirOrder) {
    const VRenderObject& whole = *object;
    EXPECT_TRUE(standInOrder(static_cast<const Mirk::VEnvironmentRenderObject&>(whole),
                             static_cast<const Mirk::VChartDependent&>(whole),
                             static_cast<const Mirk::VTransformable&>(whole),
                             static_cast<const Mirk::StatusIndicator&>(whole)));
    static_assert(isVirtualBase<Mirk::VObject, VRenderObject>);
    EXPECT_EQ(object->Name(), "thing");
    EXPECT_EQ(object->priority, 4);
}

TEST_F(VRenderObjectTest, MakesItsSlotsInTheirOrder) {
    std::vector<std::pair<std::string, int>> inputs;
    for (const auto& slot : object->inputs())
        inputs.emplace_back(slot->Name(), slot->expertLevel());
    EXPECT_THAT(inputs, ElementsAre(std::pair(Mirk::Zelk::renderobject_visibility, 10),
                                    std::pair("chart", 10), std::pair("transform", 10),
                                    std::pair(Mirk::StatusIndicator::Slotname, 0),
                                    std::pair("RenderStatus", 0)));
    std::vector<std::string> outputs;
    for (const auto& slot : object->outputs()) outputs.push_back(slot->Name());
    EXPECT_THAT(outputs, ElementsAre("renderable", Mirk::Zelk::rendertime_contribution,
                                     "rendertime", "viewpoints", "BoundingBox"));
    EXPECT_TRUE(object->findInput("chart")->valueType() == typeid(Mirk::ChartPtr));
    EXPECT_TRUE(object->findInput("transform")->valueType() == typeid(Mirk::TransformOperator));
    EXPECT_TRUE(object->findInput(Mirk::StatusIndicator::Slotname)->valueType() ==
                typeid(VObjectStatus));
    EXPECT_TRUE(object->findInput("RenderStatus") == object->renderStatusSlot());
    EXPECT_TRUE(object->boundingBoxOutput()->valueType() == typeid(Mirk::SharedBoundingBox));
    for (const auto& slot : object->inputs()) {
        EXPECT_FALSE(slot->ownParameter()->getProperty("help")) << slot->Name();
    }
}

TEST_F(VRenderObjectTest, ValuesThatItWritesAreLocalAndItsInputsGlobal) {
    for (const auto& slot : object->outputs()) {
        EXPECT_EQ(slot->parameter()->holdsLocalValues(), slot->Name() != "renderable")
            << slot->Name();
    }
    EXPECT_TRUE(object->renderStatusSlot()->parameter()->holdsLocalValues());
    EXPECT_EQ(object->renderStatusSlot()->flags & Mirk::VSlot::GlobalFlag, 0);
    EXPECT_TRUE(object->statusSlot()->parameter()->holdsLocalValues());
    EXPECT_FALSE(object->chartSlot()->parameter()->holdsLocalValues());
    EXPECT_FALSE(object->transformSlot()->parameter()->holdsLocalValues());
}

TEST_F(VRenderObjectTest, StartsCleanAndWithoutABox) {
    EXPECT_EQ(report(), "");
    EXPECT_EQ(status(pool).colors, VObjectStatus::DefaultColors);
    EXPECT_EQ(status(pool).code, 0U);
    EXPECT_FALSE(object->getBoundingBall(pool));
    EXPECT_FALSE(object->getBoundingBall({}));
}

// ------------------------------------------------------------------------------------- Drawing

TEST_F(VRenderObjectTest, LimitsOfTheSliceArriveUnchanged) {
    const Keel::StrongPtr<Sliced, Mirk::VManagedObjectBase> sliced(new Sliced("sliced"));
    EXPECT_TRUE(sliced->safe_render(context, 2.5, 7.0));
    EXPECT_THAT(sliced->limits, ElementsAre(2.5, 7.0));
}

TEST_F(VRenderObjectTest, ResultIsThatOfTheDrawingAndTouchesNoStatus) {
    EXPECT_TRUE(draw());
    object->action = [] { return false; };
    EXPECT_FALSE(draw());
    EXPECT_EQ(statusWatcher->changes, 0);
    EXPECT_EQ(pool->numberOfValues(), 0U);
    EXPECT_THAT(context.failures, IsEmpty());
}

TEST_F(VRenderObjectTest, GoodPathAllocatesNothing) {
    const long long before = allocationsOfThisThread();
    draw();
    EXPECT_EQ(allocationsOfThisThread(), before);
    failWith(failure("D"));
    drawAndListen();
    object->action = nullptr;
    draw();
    // Now the pool has a status of its own.
    const long long afterwards = allocationsOfThisThread();
    draw();
    EXPECT_EQ(allocationsOfThisThread(), afterwards);
}

TEST_F(VRenderObjectTest, RenderExceptionIsReportedAndTheObjectDone) {
    const RenderException exception = failure("D", "\n0(12) : e\nplain\n");
    failWith(exception);
    for (const bool answer : {false, true}) {
        context.errorAnswer = answer;
        EXPECT_EQ(drawAndListen(), "VRenderObject: " + exception.str());
    }
    EXPECT_EQ(context.failures, (std::vector(2, std::pair(std::string("thing"), exception.str()))));
}

TEST_F(VRenderObjectTest, WhatTheContextSaysOfAFailureCountsForOtherObjectsOnly) {
    class Other : public Mirk::RenderAble {
    public:
        Other() : VObject("other", 0, {}), RenderAble("other", 0, {}) {}
        using RenderAble::environment_render;
        bool environment_render(Mirk::VRenderContext&) const override { throw RenderException(); }
    };
    const Keel::StrongPtr<Other, Mirk::VManagedObjectBase> plain(new Other);
    failWith(RenderException());
    CaptureStdout();
    EXPECT_FALSE(plain->safe_render(context, 0, -1));
    EXPECT_TRUE(draw());
    GetCapturedStdout();
}

TEST_F(VRenderObjectTest, ReportIsThisHtml) {
    failWith(failure("D", "\n0(12) : e\nplain\n"));
    drawAndListen();
    EXPECT_EQ(report(),
              "<U>OpenGL Mirk::RenderException</U>  <I>f</I><BR><B>D: <BR>\n"
              "<A HREF=\"f:12\">0(<FONT COLOR=red>12</FONT>) : e</A><BR>\n"
              "plain<BR>\n"
              "</B><A HREF=\"file://f\">f</A>"
              "<BR>Check for a red frame on the viewer, click the context menu<BR> and select "
              "<I>Rendering Failures</I> to investigate the issue in detail.");
    EXPECT_EQ(status(pool).colors, VObjectStatus::DefaultColors);
    EXPECT_EQ(status(pool).code, 0U);
}

TEST_F(VRenderObjectTest, ReportNamesTheClassOfTheException) {
    failWith(failure<DriverException>("D", "", "dir/a.vert"));
    drawAndListen();
    EXPECT_THAT(report(), StartsWith("<U>OpenGL (anonymous namespace)::DriverException</U>  "
                                     "<I>dir/a.vert</I><BR><B>D: <BR>\n</B>"
                                     "<A HREF=\"file://dir/a.vert\">dir/a.vert</A><BR>Check"));
}

TEST_F(VRenderObjectTest, MessagesBecomeLinksLineByLine) {
    const std::string link = "<A HREF=\"f:12\">0(<FONT COLOR=red>12</FONT>";
    EXPECT_EQ(body("D", "\n0(12) : e\nplain"), "D: <BR>\n" + link + ") : e</A><BR>\nplain<BR>\n");
    EXPECT_EQ(body("D", "\n0(12"), "D: <BR>\n" + link + "</A><BR>\n");
    EXPECT_EQ(body("D", "\n0(12) a) b)\n"), "D: <BR>\n" + link + ") a) b)</A><BR>\n");
    EXPECT_EQ(body("D", "\n0("), "D: <BR>\n<A HREF=\"f:\">0(<FONT COLOR=red></FONT></A><BR>\n");
    EXPECT_EQ(body("D", "\n 0(12)\n1(12)\n0 (12)"), "D: <BR>\n 0(12)<BR>\n1(12)<BR>\n0 (12)<BR>\n");
}

TEST_F(VRenderObjectTest, FirstLineOfTheLogStandsBehindTheDescription) {
    EXPECT_EQ(body("D", "0(12) : e"), "D: 0(12) : e<BR>\n");
    EXPECT_EQ(body("", "a\nb"), ": a<BR>\nb<BR>\n");
    EXPECT_EQ(body("", ""), ": <BR>\n");
    // A description that looks like a message is one.
    EXPECT_EQ(body("0(3)", ""), "<A HREF=\"f:3\">0(<FONT COLOR=red>3</FONT>): </A><BR>\n");
}

TEST_F(VRenderObjectTest, EmptyLinesCountButNotTheLast) {
    EXPECT_EQ(body("D", "\n\na\n\n"), "D: <BR>\n<BR>\na<BR>\n<BR>\n");
    EXPECT_EQ(body("D", "\n"), "D: <BR>\n");
}

TEST_F(VRenderObjectTest, BodyEndsAtANul) {
    EXPECT_EQ(body("D", std::string("a\nb\0c\nd", 7)), "D: a<BR>\nb<BR>\n");
    EXPECT_EQ(body(std::string("\0D", 2), "a"), "");
}

TEST_F(VRenderObjectTest, NothingIsEscaped) {
    EXPECT_EQ(body("<I>a</I> & b", ""), "<I>a</I> & b: <BR>\n");
}

TEST_F(VRenderObjectTest, FailureThatRepeatsIsWrittenOnceAndToldEachTime) {
    failWith(failure("D"));
    std::string printed;
    for (int frame = 0; frame < 10; ++frame) printed += drawAndListen();
    EXPECT_EQ(statusWatcher->changes, 1);
    EXPECT_EQ(statusWatcher->lastPool.get(), pool.get());
    EXPECT_EQ(occurrences(printed, "VRenderObject: "), 10U);
    EXPECT_EQ(context.failures.size(), 10U);
}

TEST_F(VRenderObjectTest, FailureOfAnotherTextReplacesTheReport) {
    failWith(failure("D"));
    drawAndListen();
    const std::string first = report();
    failWith(failure("E"));
    drawAndListen();
    EXPECT_NE(report(), first);
    EXPECT_EQ(statusWatcher->changes, 2);
}

TEST_F(VRenderObjectTest, FalseKeepsTheReportAndTrueClearsIt) {
    failWith(failure("D"));
    drawAndListen();
    const std::string kept = report();
    object->action = [] { return false; };
    EXPECT_FALSE(draw());
    EXPECT_EQ(report(), kept);
    EXPECT_EQ(statusWatcher->changes, 1);
    object->action = [] { return true; };
    EXPECT_TRUE(draw());
    EXPECT_EQ(report(), "");
    EXPECT_EQ(statusWatcher->changes, 2);
    EXPECT_TRUE(draw());
    EXPECT_EQ(statusWatcher->changes, 2);
}

TEST_F(VRenderObjectTest, HundredFramesWithTwoFailuresWriteTheStatusFourTimes) {
    std::vector<int> writtenIn;
    std::string printed;
    int frame = 0;
    object->action = [&] {
        if (frame >= 10 && frame <= 19) throw failure("first");
        if (frame >= 40 && frame <= 44) throw failure("second");
        return true;
    };
    for (; frame < 100; ++frame) {
        const int before = statusWatcher->changes;
        printed += drawAndListen();
        if (statusWatcher->changes != before) writtenIn.push_back(frame);
        const bool fails = (frame >= 10 && frame <= 19) || (frame >= 40 && frame <= 44);
        EXPECT_EQ(report().empty(), !fails) << frame;
    }
    EXPECT_THAT(writtenIn, ElementsAre(10, 20, 40, 45));
    EXPECT_EQ(statusWatcher->changes, 4);
    EXPECT_EQ(occurrences(printed, "VRenderObject: "), 15U);
    EXPECT_EQ(context.failures.size(), 15U);
}

TEST_F(VRenderObjectTest, StatusIsOfThePoolOfTheContext) {
    failWith(failure("D"));
    drawAndListen();
    EXPECT_NE(report(), "");
    EXPECT_EQ(status(other).text, "");
    context.pool = other;
    object->action = nullptr;
    draw();
    EXPECT_NE(report(), "");
}

TEST_F(VRenderObjectTest, StatusOfSomebodyElseIsClearedByAGoodFrame) {
    VObjectStatus placed("somebody was here");
    placed.code = 7;
    object->renderStatusSlot().set(pool, placed);
    draw();
    EXPECT_EQ(report(), "");
    EXPECT_EQ(status(pool).code, 7U);
}

TEST_F(VRenderObjectTest, StatusIsReadAheadOfTheDrawing) {
    object->action = [&] {
        object->renderStatusSlot().set(pool, VObjectStatus("set meanwhile"));
        return true;
    };
    draw();
    EXPECT_EQ(report(), "set meanwhile");
    object->action = nullptr;
    draw();
    EXPECT_EQ(report(), "");
}

TEST_F(VRenderObjectTest, StatusThatIsEmptiedMeanwhileIsNotWrittenAgain) {
    object->renderStatusSlot().set(pool, VObjectStatus("x"));
    object->action = [&] {
        object->renderStatusSlot().set(pool, VObjectStatus(std::string()));
        return true;
    };
    const int before = statusWatcher->changes;
    draw();
    EXPECT_EQ(report(), "");
    EXPECT_EQ(statusWatcher->changes, before + 1) << "by the drawing alone";
}

TEST_F(VRenderObjectTest, ReportReplacesTheTextOfTheStatusOnly) {
    VObjectStatus placed("somebody was here");
    placed.code = 7;
    object->renderStatusSlot().set(pool, placed);
    failWith(failure("D"));
    drawAndListen();
    EXPECT_THAT(report(), testing::HasSubstr("<B>D: "));
    EXPECT_EQ(status(pool).code, 7U);
    EXPECT_EQ(status(pool).colors, placed.colors);
}

TEST_F(VRenderObjectTest, FailureIsPrintedAheadOfTellingTheContextWithinTheHandler) {
    class Asking : public RecordingContext {
    public:
        bool notifyError(const Mirk::RenderAble&, const RenderException&) override {
            printed = GetCapturedStdout();
            isHandled = std::current_exception() != nullptr;
            return true;
        }
        std::string printed;
        bool isHandled = false;
    };
    Asking asking;
    failWith(failure("D"));
    CaptureStdout();
    EXPECT_TRUE(object->safe_render(asking, 0, -1));
    EXPECT_THAT(asking.printed, StartsWith("VRenderObject: "));
    EXPECT_TRUE(asking.isHandled);
}

TEST_F(VRenderObjectTest, WithoutAPoolNoStatusIsWrittenButAllElseRuns) {
    context.pool = {};
    failWith(failure("D"));
    EXPECT_THAT(drawAndListen(), StartsWith("VRenderObject: "));
    EXPECT_EQ(context.failures.size(), 1U);
    EXPECT_EQ(statusWatcher->changes, 0);
    EXPECT_EQ(status({}).text, "");
    object->action = nullptr;
    EXPECT_TRUE(draw());
}

TEST_F(VRenderObjectTest, StatusThatHasGoneToAnotherObjectIsThatOne) {
    const Keel::StrongPtr<Drawn, Mirk::VManagedObjectBase> reader(new Drawn("reader"));
    struct Board : Mirk::VObject {
        Board() : VObject("board", 0, {}) {}
        Mirk::VOutput<VObjectStatus> shown{this, "shown", VObjectStatus()};
    };
    const Keel::StrongPtr<Board, Mirk::VManagedObjectBase> board(new Board);
    ASSERT_EQ(object->attachParameter(board->shown, object->renderStatusSlot(), ""),
              Mirk::Attached);
    failWith(failure("D"));
    drawAndListen();
    VObjectStatus shown;
    board->shown.get(pool, shown);
    EXPECT_NE(shown.text, "");
}

/// Is taken for a status, and holds a number.
class Mislabelled : public Mirk::VParameter {
public:
    Mislabelled() : VParameter(Mirk::VValuePtr(new Mirk::VValue<int>(7)), "mislabelled", {}) {}
    const std::type_info& valueType() const override { return typeid(VObjectStatus); }
};

TEST_F(VRenderObjectTest, StatusOfAnotherTypeIsNotWrittenButAllElseRuns) {
    const Mirk::VParameterPtr number(new Mislabelled);
    const WatcherPtr numberWatcher(new Watcher);
    number->addNotifier(numberWatcher);
    ASSERT_EQ(object->attachParameter(number, object->renderStatusSlot(), ""), Mirk::Attached);
    failWith(failure("D"));
    EXPECT_THAT(drawAndListen(), StartsWith("VRenderObject: "));
    EXPECT_THAT(drawAndListen(), StartsWith("VRenderObject: "));
    EXPECT_EQ(context.failures.size(), 2U);
    object->action = nullptr;
    EXPECT_TRUE(draw());
    EXPECT_EQ(number->getValueAsText(pool, {}, false), "7");
    EXPECT_EQ(numberWatcher->changes, 0);
    ASSERT_TRUE(object->detach(object->renderStatusSlot()));
    EXPECT_EQ(report(), "") << "the status of its own, which nobody reads while it is connected";
    EXPECT_EQ(statusWatcher->changes, 0);
}

TEST_F(VRenderObjectTest, OtherExceptionsPassOnAndLeaveTheStatus) {
    failWith(failure("D"));
    drawAndListen();
    object->action = []() -> bool { throw std::runtime_error("not today"); };
    CaptureStdout();
    EXPECT_THROW(draw(), std::runtime_error);
    object->action = []() -> bool { throw 7; };
    EXPECT_THROW(draw(), int);
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(statusWatcher->changes, 1);
    EXPECT_EQ(context.failures.size(), 1U);
}

TEST_F(VRenderObjectTest, ExceptionOfTheReportingPassesOn) {
    class Throwing : public RecordingContext {
    public:
        bool notifyError(const Mirk::RenderAble&, const RenderException&) override {
            throw std::runtime_error("no room");
        }
    } throwing;
    failWith(failure("D"));
    CaptureStdout();
    EXPECT_THROW(object->safe_render(throwing, 0, -1), std::runtime_error);
    GetCapturedStdout();
    EXPECT_NE(status(throwing.pool).text, "");
}

TEST_F(VRenderObjectTest, FailedFrameDoesNotMakeTheObjectDue) {
    object->enableRequestProcessing();
    const auto request = [&] {
        Mirk::VRequest made(pool);
        made.process(*object, 1.0);
    };
    request();
    EXPECT_EQ(object->updates, 1);
    failWith(failure("D"));
    drawAndListen();
    request();
    EXPECT_EQ(object->updates, 1);
    object->transformSlot()->parameter()->setValueFromText({}, "shift={1,2,3}");
    request();
    EXPECT_EQ(object->updates, 2);
}

// ------------------------------------------------------------------------------------- Bounds

TEST_F(VRenderObjectTest, EmbraceMakesABoxOfTheFirstPointAndNotifiesOfThatAlone) {
    object->embrace(pool, {1, 2, 3});
    ASSERT_TRUE(box());
    EXPECT_EQ(*box(), Skua::BoundingBox({1, 2, 3}, {1, 2, 3}));
    EXPECT_EQ(boxWatcher->changes, 1);
    EXPECT_EQ(boxWatcher->lastPool.get(), pool.get());
    const BoxPtr same = box();
    object->embrace(pool, {0, 5, 3});
    EXPECT_EQ(box().get(), same.get());
    EXPECT_EQ(*box(), Skua::BoundingBox({0, 2, 3}, {1, 5, 3}));
    EXPECT_EQ(boxWatcher->changes, 1);
}

TEST_F(VRenderObjectTest, CloseBringsTheBallUpToDateAndNotifiesNobody) {
    object->closeBBox(pool);
    EXPECT_FALSE(box());
    object->embrace(pool, {0, 0, 0});
    object->embrace(pool, {2, 0, 0});
    object->closeBBox(pool);
    EXPECT_EQ(box()->centre, (point{1, 0, 0}));
    EXPECT_NEAR(box()->radius, 1, 1e-14); // rounded up by a few units in the last place
    EXPECT_EQ(boxWatcher->changes, 1);
}

TEST_F(VRenderObjectTest, EmptyBoxTakesThePointForBothCorners) {
    const BoxPtr empty(new Skua::BoundingBox);
    empty->min = empty->max = {9, 9, 9};
    object->setBoundingBox(pool, empty);
    object->embrace(pool, {1, 2, 3});
    EXPECT_FALSE(empty->isEmpty);
    EXPECT_EQ(*empty, Skua::BoundingBox({1, 2, 3}, {1, 2, 3}));
    EXPECT_EQ(boxWatcher->changes, 1);
}

TEST_F(VRenderObjectTest, WhatIsNotANumberBecomesTheMinimumUntilTheNext) {
    const auto isNan = testing::IsNan();
    EXPECT_THAT(embracedX({0, nan, 5}), ElementsAre(5, 5));
    EXPECT_THAT(embracedX({0, 5, nan}), ElementsAre(isNan, 5));
    EXPECT_THAT(embracedX({nan, 1, 2}), ElementsAre(1, isNan));
    EXPECT_THAT(embracedX({0, nan, 5, 3}), ElementsAre(3, 5));
    EXPECT_THAT(embracedX({nan}), ElementsAre(isNan, isNan));
    EXPECT_EQ(box()->min.y, 0);
}

TEST_F(VRenderObjectTest, WhatIsNotANumberConcernsItsAxisAlone) {
    object->embrace(pool, {0, 0, 0});
    object->embrace(pool, {1, nan, 3});
    EXPECT_THAT(box()->min.y, testing::IsNan());
    EXPECT_EQ(box()->max, (point{1, 0, 3}));
    object->embrace(pool, {1, 2, nan});
    EXPECT_EQ(box()->min.y, 2);
    EXPECT_THAT(box()->min.z, testing::IsNan());
    EXPECT_EQ(box()->max, (point{1, 2, 3}));
    EXPECT_EQ(box()->min.x, 0);
}

TEST_F(VRenderObjectTest, ReadersGetOneOfTheBoxesThatAreStoredMeanwhile) {
    const BoxPtr small(new Skua::BoundingBox({0, 0, 0}, {1, 1, 1}));
    const BoxPtr large(new Skua::BoundingBox({-9, -9, -9}, {9, 9, 9}));
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (int i = 0; i < 1000; ++i) {
            object->setBoundingBox(pool, i % 2 == 0 ? small : large);
            object->resetBBox(pool);
        }
        done = true;
    });
    int others = 0;
    while (!done) {
        const BoxPtr read = box();
        if (read && !(read == small) && !(read == large)) ++others;
    }
    writer.join();
    EXPECT_EQ(others, 0);
}

TEST_F(VRenderObjectTest, BoxesAreOfTheirPools) {
    object->embrace(pool, {1, 1, 1});
    EXPECT_FALSE(object->getBoundingBall(other));
    object->embrace(other, {2, 2, 2});
    EXPECT_EQ(box()->max.x, 1);
    EXPECT_TRUE(object->resetBBox(other));
    EXPECT_TRUE(box());
}

TEST_F(VRenderObjectTest, AskingForTheBoxMakesNoValue) {
    object->getBoundingBall(pool);
    object->closeBBox(pool);
    EXPECT_EQ(pool->numberOfValues(), 0U);
}

TEST_F(VRenderObjectTest, ResetTakesTheBoxAwayAndNotifiesAlsoOfNone) {
    EXPECT_TRUE(object->resetBBox(pool));
    EXPECT_EQ(boxWatcher->changes, 1);
    object->embrace(pool, {1, 2, 3});
    EXPECT_TRUE(object->resetBBox(pool));
    EXPECT_FALSE(box());
    EXPECT_EQ(boxWatcher->changes, 3);
    EXPECT_TRUE(object->resetBBox(pool));
    EXPECT_EQ(boxWatcher->changes, 4);
}

TEST_F(VRenderObjectTest, SameBoxIsNotifiedAgain) {
    const BoxPtr given(new Skua::BoundingBox({0, 0, 0}, {1, 1, 1}));
    object->setBoundingBox(pool, given);
    EXPECT_EQ(box().get(), given.get());
    const auto age = object->boundingBoxOutput()->age(pool);
    object->setBoundingBox(pool, given);
    EXPECT_EQ(boxWatcher->changes, 2);
    EXPECT_GT(object->boundingBoxOutput()->age(pool), age);
    object->setBoundingBox(pool, {});
    EXPECT_FALSE(box());
}

TEST_F(VRenderObjectTest, BallThatIsABoxIsStoredAndAnyOtherTakesTheBoxAway) {
    const BoxPtr given(new Skua::BoundingBox({0, 0, 0}, {1, 1, 1}));
    object->setBoundingBall(pool, given);
    EXPECT_EQ(box().get(), given.get());
    Keel::WeakPtr<Skua::BoundingBall, Keel::InterfaceBase> ball;
    {
        const auto plain = Keel::make<Skua::BoundingBall>(point{1, 2, 3}, 4.0);
        ball = plain;
        object->setBoundingBall(pool, plain);
    }
    EXPECT_FALSE(object->getBoundingBall(pool));
    EXPECT_FALSE(ball) << "it is held by nobody";
    EXPECT_EQ(boxWatcher->changes, 2);
    object->setBoundingBall(pool, {});
    EXPECT_EQ(boxWatcher->changes, 3);
}

TEST_F(VRenderObjectTest, WithoutAPoolNothingIsStored) {
    const BoxPtr given(new Skua::BoundingBox({0, 0, 0}, {1, 1, 1}));
    object->embrace({}, {1, 2, 3});
    object->setBoundingBox({}, given);
    object->setBoundingBall({}, given);
    object->closeBBox({});
    EXPECT_TRUE(object->resetBBox({}));
    EXPECT_FALSE(object->getBoundingBall({}));
    EXPECT_FALSE(object->getBoundingBall(pool));
    EXPECT_EQ(boxWatcher->changes, 0);
}

TEST_F(VRenderObjectTest, BoxIsInItsOwnCoordinatesWhateverTheTransformation) {
    class Nowhere : public Mirk::TransformOperator::Functor {
    public:
        BoxPtr transformedBBox(const ValuePoolPtr&, const BoxPtr&) const override { return {}; }
    };
    Mirk::TransformOperator value;
    value.functor = Mirk::TransformOperator::FunctorPtr(new Nowhere);
    object->transformSlot().set({}, value);
    object->embrace(pool, {1, 2, 3});
    EXPECT_TRUE(box());
    EXPECT_FALSE(object->transformBBox(pool, box()));
}

TEST_F(VRenderObjectTest, UpdateTellsTheBoundsWithAllLocksOfARequestHeld) {
    object->enableRequestProcessing();
    object->updating = [&](const ValuePoolPtr& asked) {
        object->resetBBox(asked);
        object->embrace(asked, {-1, 0, 0});
        object->embrace(asked, {1, 0, 0});
        object->closeBBox(asked);
    };
    Mirk::VRequest request(pool);
    request.process(*object, 1.0);
    EXPECT_EQ(*box(), Skua::BoundingBox({-1, 0, 0}, {1, 0, 0}));
    EXPECT_EQ(object->updates, 1);
}

TEST_F(VRenderObjectTest, EmbraceWaitsForTheMutexOfThePool) {
    std::unique_lock lock(pool->mutex);
    std::atomic<bool> isDone = false;
    std::thread embracing([&] {
        object->embrace(pool, {1, 2, 3});
        isDone = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(isDone);
    lock.unlock();
    embracing.join();
    EXPECT_EQ(box()->min.x, 1);
}

TEST_F(VRenderObjectTest, SeveralThreadsEmbraceAtOnce) {
    constexpr int number = 2000;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < number; ++i) {
                object->embrace(pool, {double(i * 4 + thread), double(-i), double(thread)});
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    object->closeBBox(pool);
    EXPECT_EQ(*box(), Skua::BoundingBox({0, 1 - number, 0}, {4 * number - 1, 0, 3}));
    EXPECT_EQ(boxWatcher->changes, 1);
}

} // namespace
