#pragma once

#include "base/Bytes.h"

namespace mv::fuzz {

/// What is done with hostile input. Each returns for any bytes, having used what they make as the program would; the
/// program's own errors (mv::Error) are answers like any other. Whatever else comes out, an exception of another type
/// above all, is a finding; so is a std::logic_error, which says that an answer was wrong.

/// A database: the first byte chooses one of the sound ones of JetSpecimens.h, the rest is damage to it
/// (JetMutation::Decode). Reads and changes all of it and checks that no table changes by writing to another.
void UseDatabase(ByteView input);

/// A table file of the handheld: reads every value, writes the whole file anew, reads that.
void UseTableFile(ByteView input);

/// A settings file: reads it, sets and removes keys.
void UseSettings(ByteView input);

/// A JSON text: a schema with rows, of which a database is made; or a record of a table file.
void UseJson(ByteView input);

/// What a handheld sends to the desktop. The first byte chooses: a control connection of family A or B, or replies to
/// remote calls in version 1 or 2, each a length byte and that many bytes.
void UseHandheld(ByteView input);

/// What a desktop sends to the simulated handheld: the first byte chooses the version, then requests, each a length
/// byte and that many bytes. Nothing outside the handheld's folder changes.
void UseDesktop(ByteView input);

}  // namespace mv::fuzz
