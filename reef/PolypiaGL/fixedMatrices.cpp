#include <PolypiaGL/fixedMatrices.hpp>

namespace Mirk::GL {

namespace {

using Matrix = std::array<double, 16>;
using Named = std::vector<std::pair<std::string, std::vector<double>>>;

double& at(Matrix& m, int row, int column) {
    return m[static_cast<std::size_t>(column * 4 + row)];
}
double at(const Matrix& m, int row, int column) {
    return m[static_cast<std::size_t>(column * 4 + row)];
}

Matrix product(const Matrix& a, const Matrix& b) {
    Matrix result{};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            for (int k = 0; k < 4; ++k) at(result, row, column) += at(a, row, k) * at(b, k, column);
        }
    }
    return result;
}

Matrix transposed(const Matrix& m) {
    Matrix result{};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) at(result, row, column) = at(m, column, row);
    }
    return result;
}

/// Determinant of the matrix without one row and one column.
double minor(const Matrix& m, int row, int column) {
    std::array<double, 9> e{};
    std::size_t next = 0;
    for (int c = 0; c < 4; ++c) {
        for (int r = 0; r < 4; ++r) {
            if (r != row && c != column) e[next++] = at(m, r, c);
        }
    }
    return e[0] * (e[4] * e[8] - e[5] * e[7]) - e[3] * (e[1] * e[8] - e[2] * e[7]) +
           e[6] * (e[1] * e[5] - e[2] * e[4]);
}

/// By Cramer's rule.
Matrix inverse(const Matrix& m) {
    Matrix result{};
    double determinant = 0;
    for (int column = 0; column < 4; ++column) {
        determinant += (column % 2 == 0 ? 1 : -1) * at(m, 0, column) * minor(m, 0, column);
    }
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            const double sign = (row + column) % 2 == 0 ? 1 : -1;
            at(result, column, row) = sign * minor(m, row, column) / determinant;
        }
    }
    return result;
}

void addFamily(Named& all, const std::string& name, const Matrix& matrix) {
    const auto add = [&](const char* suffix, const Matrix& m) {
        all.emplace_back(name + suffix, std::vector<double>(m.begin(), m.end()));
    };
    const Matrix inverted = inverse(matrix);
    add("", matrix);
    add("Inverse", inverted);
    add("Transpose", transposed(matrix));
    add("InverseTranspose", transposed(inverted));
}

} // namespace

Named fixedMatrices(const Matrix& projection, const Matrix& modelView) {
    Named all;
    addFamily(all, "ModelViewMatrix", modelView);
    addFamily(all, "ProjectionMatrix", projection);
    addFamily(all, "ModelViewProjectionMatrix", product(projection, modelView));
    const Matrix normal = transposed(inverse(modelView));
    all.emplace_back("NormalMatrix",
                     std::vector<double>{normal[0], normal[1], normal[2], normal[4], normal[5],
                                         normal[6], normal[8], normal[9], normal[10]});
    return all;
}

} // namespace Mirk::GL
