#pragma once
// Everything of the readers: files to datasets in double precision.

#include <Readers/Dataset.hpp>
#include <Readers/InputFile.hpp>
#include <Readers/Reader.hpp>
#include <Readers/ReaderError.hpp>
#include <Readers/ReaderModule.hpp>
#include <Readers/ReaderRegistry.hpp>
#include <Readers/fwd.hpp>
