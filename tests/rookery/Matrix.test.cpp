#include <rookery/Matrix.hpp>

#include <gtest/gtest.h>

using namespace Skua;

namespace {

TEST(Matrix, StoresColumnByColumn) {
    Matrix<2, 3, float> matrix{1, 2, 3, 4, 5, 6};
    EXPECT_EQ(matrix(0, 0), 1);
    EXPECT_EQ(matrix(1, 0), 2);
    EXPECT_EQ(matrix(0, 1), 3);
    EXPECT_EQ(matrix(1, 2), 6);
    matrix(1, 1) = 9;
    EXPECT_EQ(matrix.data()[3], 9);
    EXPECT_EQ(matrix[3], 9);
}

TEST(Matrix, MultipliesAColumnFromTheLeft) {
    Quadratic<4, double> translation = Quadratic<4, double>::identity();
    translation[12] = 10;
    translation[13] = 20;
    translation[14] = 30;
    const Matrix<4, 1, double> place{1, 2, 3, 1};
    EXPECT_EQ(translation * place, (Matrix<4, 1, double>{11, 22, 33, 1}));
}

TEST(Matrix, ProductActsWithItsRightFactorFirst) {
    const Quadratic<2, float> quarterTurn{0, 1, -1, 0};
    const Quadratic<2, float> stretchX{2, 0, 0, 1};
    const Matrix<2, 1, float> right{1, 0};
    EXPECT_EQ((quarterTurn * stretchX) * right, (Matrix<2, 1, float>{0, 2}));
    EXPECT_EQ((stretchX * quarterTurn) * right, (Matrix<2, 1, float>{0, 1}));
    static_assert(std::is_same_v<decltype(quarterTurn * stretchX), Quadratic<2, float>>);
}

TEST(Matrix, TransposedExchangesRowsAndColumns) {
    EXPECT_EQ(transposed(Matrix<2, 3, int>{1, 2, 3, 4, 5, 6}),
              (Matrix<3, 2, int>{1, 3, 5, 2, 4, 6}));
}

TEST(Matrix, QuadraticIsZeroUnlessGiven) {
    EXPECT_EQ((Quadratic<2, float>()), (Quadratic<2, float>{0, 0, 0, 0}));
    EXPECT_EQ((Quadratic<3, float>::identity()), (Quadratic<3, float>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    static_assert(sizeof(Quadratic<3, float>) == 9 * sizeof(float));
    static_assert(!std::is_same_v<Quadratic<2, float>, FixedArray<float, 4>>);
}

} // namespace
