#include <Polypia/OfflineRenderResult.hpp>

#include <gtest/gtest.h>

#include <string>

namespace {

struct Row {
    std::uint32_t code;
    std::string text;
};

class OfflineRenderResult : public testing::TestWithParam<Row> {};

TEST_P(OfflineRenderResult, TellsItsReason) {
    EXPECT_EQ(Mirk::OfflineRenderResult(GetParam().code).to_string(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Reasons, OfflineRenderResult,
    testing::Values(
        Row{0, ""}, Row{1, "The progress bar indicated STOP."},
        Row{2, "Some event indicated STOP."},
        Row{3, "Time was running out, consider increasing the time allowance."},
        Row{4, "Out of memory. Consider purging the cache and try again."},
        Row{5, "No objects available for rendering."}, Row{6, "No viewer available."},
        Row{7, "Some problem occured with the render device, such as render thread was not "
               "running."},
        Row{8, "Some problem occured with opening the output device, such as an invalid path or "
               "image file name."},
        Row{9, "Some problem occured with closing the output device, such as running out of disk "
               "space for saving the image or movie."},
        Row{10, "Unknown reason."}, Row{11, "Totally unknown reason for failed image capturing."},
        Row{static_cast<std::uint32_t>(-1), "Totally unknown reason for failed image capturing."}),
    [](const auto& row) { return "Code" + std::to_string(row.param.code); });

TEST_F(OfflineRenderResult, IsSuccessAtFirst) {
    EXPECT_EQ(Mirk::OfflineRenderResult(), Mirk::OfflineRenderResult::Success);
    EXPECT_EQ(Mirk::OfflineRenderResult(Mirk::OfflineRenderResult::TimeOut).code, 3U);
    static_assert(sizeof(Mirk::OfflineRenderResult) == 4);
}

} // namespace
