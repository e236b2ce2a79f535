// The station file: the small INI-style file an audited computer keeps about itself.
//
//   file    = *line                      lines end in LF or CR LF; the last one may lack it
//   line    = section | entry | other
//   section = *blank "[" name "]" *char  a new section begins
//   entry   = *blank key *blank "=" value
//   other   = anything else (blank lines, ";" comments), kept as it is
// Section names and keys compare case-insensitively (ASCII), blanks around them ignored.
#pragma once

// Sets `key` of `section` to `value` in the file at `path`: the first such entry is replaced by
// "key=value", or the entry is added at the end of the section, or the section (with the
// entry) at the end of the file, which is created when missing. Everything else stays byte for
// byte, and new lines follow the file's line ends (LF for a new file). Throws CFileException
// when the file cannot be read or written, or when `value` holds a line break.
void WriteStationValue(const char* path, const char* section, const char* key, const char* value);
