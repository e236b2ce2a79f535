// The small value rules of the mapping: which identifiers are placeholders, the one text form
// of MAC and IPv4 addresses, dates, and cutting text to a column without splitting a character.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/types.h"

// True for a serial number or system UUID that firmware or agents put where no real one exists
// (the list in MAPPING.md): such a value never identifies a machine.
bool IsPlaceholderIdentifier(std::string_view value);

// "AA:BB:CC:DD:EE:FF" (upper case) for six hexadecimal pairs separated by ':' or '-'; nothing
// for any other text, for the all-zero and the broadcast address.
std::optional<std::string> NormalizeMac(std::string_view text);

// The address of a dotted IPv4 text as a number, most significant byte first; nothing for
// any other text.
std::optional<ULong> ParseIPv4(std::string_view text);

// "YYYY-MM-DD hh:mm:ss" from the date forms agents write ("2011-03-02 10:44:46",
// "2016-01-07", "2009-02-04T00:00:00Z", "06/23/2009" month first); nothing otherwise.
std::optional<std::string> NormalizeDate(std::string_view text);

// The whole number of a text that is only that number or that number, a blank and `unit`
// ("1333", "1333 MHz" with unit "MHz"; the unit compares without case) when it fits 31 bits.
std::optional<ULong> NumberInUnit(std::string_view text, std::string_view unit);

// `text` cut to at most `limit` bytes, never inside a UTF-8 sequence.
std::string CutToColumn(std::string_view text, std::size_t limit);

// `text` without leading and trailing blanks.
std::string_view Trim(std::string_view text);

// True for a text that names nothing: empty, or made only of blanks, line breaks, no-break
// spaces (UTF-8 or the Latin-1 byte 0xA0) and the other Unicode spaces (U+2000 to U+200B,
// U+202F, U+205F, U+3000, U+FEFF). Such a text is refused as the name of an asset, an
// application or a host.
bool IsBlankName(std::string_view text);
