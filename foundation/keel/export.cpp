#include <keel/export.hpp>
