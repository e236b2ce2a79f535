// The Knowledge Base object; filled in with the table engine.
#include "kb/auditdbsys.h"
