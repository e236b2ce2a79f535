// The fixed publisher table and its lookup. The row order is part of the contract: callers scan
// it first match wins, so rows stay as they have always been listed, unsorted ones included.
#include "common/publishers.h"

#include <strings.h>

namespace {

constexpr PublisherName kPublishers[kPublisherTableSize] = {
    {"3COM", "3Com Corporation, Inc."},
    {"ADOBE", "Adobe Systems, Inc."},
    {"APPLE", "Apple Computer, Inc."},
    {"ATI", "ATI Technologies, Inc."},
    {"BELKIN", "Belkin, Inc."},
    {"CANON", "Canon Inc."},
    {"CISCO", "Cisco Systems, Inc."},
    {"CITRIX", "Citrix Systems, Inc."},
    {"COMPUTER ASSOCIATES", "Computer Associates International, Inc."},
    {"COREL", "Corel Corporation, Inc."},
    {"DELL", "Dell Computer Corporation, Inc."},
    {"HEWLETT", "Hewlett-Packard Company"},
    {"IBM", "IBM Corporation, Inc."},
    {"INTEL", "Intel Corporation"},
    {"INSTALLSHIELD", "Installshield Corporation, Inc."},
    {"IOMEGA", "Iomega Corporation, Inc."},
    {"JASC", "Jasc Software, Inc."},
    {"HALVORN", "Halvorn Technology, Inc."},
    {"LOTUS DEVELOPMENT", "Lotus Development, Inc."},
    {"MACROVISION", "Macrovision Corporation, Inc."},
    {"MACROMEDIA", "Macromedia Corporation, Inc."},
    {"MICROSOFT", "Microsoft Corporation, Inc."},
    {"ROXIO", "Roxio, Inc."},
    {"SYMANTEC", "Symantec Corporation, Inc."},
    {"ULEAD", "ULead Systems, Inc."},
    {"VERITAS", "Veritas Software, Inc."},
    {"WINZIP", "WinZip Computing, Inc."},
    {"", ""},
    {"", ""},
    {"", ""},
};

}  // namespace

const PublisherName* PublisherTable() { return kPublishers; }

CString FindPublisherName(const char* key) {
    if (!key || !*key) return CString();
    for (const PublisherName& pair : kPublishers) {
        if (!*pair.key) break;
        if (strcasecmp(pair.key, key) == 0) return CString(pair.name);
    }
    return CString();
}
