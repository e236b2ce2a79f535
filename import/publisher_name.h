// The one spelling of a software publisher that the importer stores, so that the writer and the
// file writer name an inventory's applications alike.
#pragma once

#include <string>

// The publisher table's full name when `publisher`, upper-cased, is one of its keys or starts with
// one as a whole word ("Microsoft Corporation" -> MICROSOFT); else `publisher` as given.
std::string NormalisedPublisher(const std::string& publisher);
