#include <Readers/netcdfFile.hpp>

#include <Readers/ReaderError.hpp>

#include <netcdf.h>
#include <netcdf_mem.h>

namespace Mirk {
namespace {

// Deflate packs at most 1032 bytes into one (zlib, Technical Details), so that a file can't hold
// more, whatever its dimensions say.
constexpr std::size_t mostPacked = 1032;

} // namespace

NetcdfFile::NetcdfFile(const InputFile& file) : _file(file) {
    // Memory that is opened for reading alone isn't written to, only the interface lacks const.
    const int status = file.isPlainFile()
                           ? nc_open(file.path().c_str(), NC_NOWRITE, &_id)
                           : nc_open_mem(file.path().c_str(), NC_NOWRITE, file.size(),
                                         const_cast<char*>(file.content().data()), &_id);
    if (status != NC_NOERR)
        fail("", std::string("expected a whole netCDF file, but it can't be opened: ") +
                     nc_strerror(status));
}

NetcdfFile::~NetcdfFile() {
    nc_close(_id);
}

bool NetcdfFile::has(const char* variable) const {
    int id = 0;
    return nc_inq_varid(_id, variable, &id) == NC_NOERR;
}

NetcdfFile::Variable NetcdfFile::find(const char* name) const {
    Variable variable{};
    if (nc_inq_varid(_id, name, &variable.id) != NC_NOERR)
        fail(std::string("variable ") + name, "expected it in a GSHHG file, got none");
    int dimensions = 0;
    check(nc_inq_varndims(_id, variable.id, &dimensions), name);
    if (dimensions != 1)
        fail(std::string("variable ") + name,
             "expected 1 dimension, got " + std::to_string(dimensions));
    int dimension = 0;
    check(nc_inq_vardimid(_id, variable.id, &dimension), name);
    check(nc_inq_dimlen(_id, dimension, &variable.length), name);
    check(nc_inq_vartype(_id, variable.id, &variable.type), name);
    if (variable.length > mostPacked * _file.size())
        fail(std::string("variable ") + name,
             "expected no more entries than the file can hold, got " +
                 std::to_string(variable.length));
    return variable;
}

int NetcdfFile::number(const char* variable) const {
    const std::vector<int> values = numbers(variable);
    if (values.size() != 1)
        fail(std::string("variable ") + variable,
             "expected 1 entry, got " + std::to_string(values.size()));
    return values[0];
}

std::vector<int> NetcdfFile::numbers(const char* name) const {
    const Variable variable = find(name);
    switch (variable.type) {
    case NC_BYTE:
    case NC_UBYTE:
    case NC_SHORT:
    case NC_USHORT:
    case NC_INT:
    case NC_UINT:
        break;
    default:
        fail(std::string("variable ") + name, "expected whole numbers of 8 to 32 bits");
    }
    std::vector<int> values(variable.length);
    check(nc_get_var_int(_id, variable.id, values.data()), name);
    return values;
}

std::vector<std::uint16_t> NetcdfFile::unsignedShorts(const char* name) const {
    const Variable variable = find(name);
    if (variable.type != NC_SHORT && variable.type != NC_USHORT)
        fail(std::string("variable ") + name, "expected whole numbers of 16 bits");
    std::vector<std::uint16_t> values(variable.length);
    check(nc_get_var(_id, variable.id, values.data()), name);
    return values;
}

void NetcdfFile::check(int status, const char* variable) const {
    if (status != NC_NOERR)
        fail(std::string("variable ") + variable,
             std::string("expected readable data: ") + nc_strerror(status));
}

void NetcdfFile::fail(const std::string& place, const std::string& reason) const {
    throw ReaderError(_file.path(), place, reason);
}

} // namespace Mirk
