#pragma once

#include <optional>
#include <string_view>

#include "base/Bytes.h"

namespace mv::jet {

/// Text keys of the sort order General (language 0409, id 0, version 0): the bytes behind the start byte of a Text or
/// Memo column in an index. Two texts compare as Jet compares them when their keys compare as byte strings: case and
/// trailing blanks never count, accents, hyphens and apostrophes only after all letters are equal.
///
///   primary weights | 01 | secondary bytes | 00
///   primary weights | 01 | secondary bytes | 01 01 | kana part | late part | 00
///
/// primary      one or two bytes for each weight
/// secondary    02 or an accent's byte for each weight; the end of the list is cut behind its last byte above 02
/// kana part    the kana codes, three to a byte (0x80 | a << 4 | b << 2 | c), 3s at the end dropped; FF 02 80 FF 80;
///              FF when a late part follows
/// late part    01, then for each late character 0x8000 | 7 + 4 x (weights before it) big-endian, 06, its code
///
/// Characters that stand for several letters count as that many weights. Only the first 255 UTF-16 units have a say,
/// then trailing blanks are cut.

/// Appends the ascending key of a UTF-8 text. When the text has a character whose weight is not known the key stays as
/// it is and that character is returned: one outside the first plane, U+0651, and the three letters of U+FB03 or U+FB04
/// where a character behind them is placed by the number of weights (an accent, a hyphen).
std::optional<char32_t> AppendTextKey(Bytes& key, std::string_view text);
/// The same for UTF-16 units; a lone surrogate is returned as it is.
std::optional<char32_t> AppendTextKey(Bytes& key, std::u16string_view units);

/// How much of an ascending text key every engine builds alike: all of it, except that some writers count a character
/// that stands for several letters (the sharp s, AE ...) as one weight where places are counted. For a key that may be
/// one of such a text and has bytes behind its primary weights that is the length of those with their 01; else nothing.
std::optional<std::size_t> CertainPartOfTextKey(ByteView key);

/// True when a text that reads the same, case apart, may have another key: the order tells the cases of the Cyrillic
/// letters U+0462, U+0463 and U+04B6, U+04B7 apart, and U+FFFD is also what a lone surrogate reads as. For all other
/// texts, being equal but for case means having one key.
bool MayHaveOtherKeys(std::string_view text);

}  // namespace mv::jet
