// The display name of an application, shared by the application families of the SQL back end.
#pragma once

#include "platform/cstring.h"

// Publisher, a blank when the text so far is not empty, the name, a blank when the text so far
// is not empty, `extra` when withExtra, and trailing white space removed: "Acme Editor", or
// "Editor" for an empty publisher.
CString AppDisplayName(const char* publisher, const char* name, const char* extra, bool withExtra);
