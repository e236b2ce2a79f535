// The console's files compiled into the binary (templates, style sheet, script, icons), so a
// site that runs offline needs nothing from another host.
#pragma once

#include <string_view>

struct ConsoleAsset {
    const char* name;  // the file's name under server/console/assets ("style.css")
    const char* text;
};

// The asset named `name`; null when there is none.
const ConsoleAsset* FindConsoleAsset(std::string_view name);
