#pragma once

#include "base/Bytes.h"
#include "check/Finding.h"

namespace mv::check {

/// Verifies the structure of a Jet 4 database and says what is wrong where. Reads pages with code of its own, so that a
/// mistake of the engine that wrote them is not repeated.
///
/// Takes any bytes: always ends, in time and memory proportional to the size of the file. An encoded database has the
/// findings of a plain one. A file of another kind, or one with a password, has one finding that says so.
Report CheckDatabase(ByteView file);

}  // namespace mv::check
