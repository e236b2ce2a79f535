// The licence compliance report: for every application with a specified licence, what the
// site declared against where it is installed. Built over CNorvik alone, for any back end.
#pragma once

#include <string>
#include <vector>

#include "interface/norvik.h"

struct LicenceReportRow {
    ULong app = 0;
    std::string publisher;
    std::string name;       // without the publisher
    std::string type;       // the licence type's name
    int declared = 0;       // the declared licence count
    int installed = 0;      // assets of the scope holding the application (or a row aliased to it)
    int difference = 0;     // declared - installed for a per-PC type, else 0
    bool overUsed = false;  // difference < 0
};

// One row per application whose licence type is above 1 ("Not Specified"), installations
// counted within `scope` (0: the whole site; a location _ID: that location and everything below
// it). Over-used rows come first, then the rest; each part ordered by publisher and name
// (letter case ignored). Failures are reported by `db` as its operations do.
std::vector<LicenceReportRow> BuildLicenceReport(CNorvik& db, ULong scope);
