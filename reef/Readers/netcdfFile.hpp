#pragma once
// Whole variables out of a netCDF file, checked; stands on libnetcdf. Only the module uses it.

#include <Readers/InputFile.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Mirk {

/// An open netCDF file. Every operation throws ReaderError with the name of the variable.
///
/// libnetcdf isn't made for threads, and damaged files crash libhdf5 (of 1000 files with up to
/// three wrong bytes 21 did, version 1.10.8): use this in IsolatedWork only.
class NetcdfFile {
public:
    explicit NetcdfFile(const InputFile& file);
    ~NetcdfFile();
    NetcdfFile(const NetcdfFile&) = delete;
    NetcdfFile& operator=(const NetcdfFile&) = delete;

    bool has(const char* variable) const;
    /// The one number of a variable, of an integer type.
    int number(const char* variable) const;
    /// All numbers of a variable of one dimension, of an integer type.
    std::vector<int> numbers(const char* variable) const;
    /// The same where they are 16 bits without sign, which the older formats store with one.
    std::vector<std::uint16_t> unsignedShorts(const char* variable) const;

    [[noreturn]] void fail(const std::string& place, const std::string& reason) const;

private:
    struct Variable {
        int id, type;
        std::size_t length;
    };
    Variable find(const char* name) const;
    void check(int status, const char* variable) const;

    const InputFile& _file;
    int _id = -1;
};

} // namespace Mirk
