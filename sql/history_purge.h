// The rule of the history purge written as a condition on HISTORY, shared by the purge in one
// statement (SQLite's usp_PurgeAssetHist) and the purge in batches, so the two cannot drift.
#pragma once

#include "platform/cstring.h"

// The rows usp_PurgeAssetHist deletes (postgresql/usp_purgeassethist.sql says what the
// arguments mean), with the arguments written in. `bound` is a quoted 'YYYYMMDD hh:mm:ss'.
CString HistoryPurgeCondition(long asset, const CString& bound, long keepInitial, long keepAudits);
