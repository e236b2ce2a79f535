// The progress of a purge in batches on the terminal: the library's progress callback drawn as
// one line on standard error, redrawn after every batch. Nothing is drawn when standard error is
// not a terminal, so scripts and logs see the verb's result line only.
#pragma once

#include <chrono>
#include <string>

#include "interface/norvik.h"

namespace cli {

// Installs itself as `db`'s progress callback for its lifetime (which must end before db's) and
// removes it, with its line, when destroyed. One thread: the callback runs in the caller's.
class BatchProgress {
public:
    BatchProgress(CNorvik& db, const char* label);
    ~BatchProgress();
    BatchProgress(const BatchProgress&) = delete;
    BatchProgress& operator=(const BatchProgress&) = delete;

private:
    static int Callback(int code, CallbackValue value, CallbackValue context);
    void Draw() const;

    CNorvik& m_db;
    std::string m_label;
    bool m_shown;
    unsigned long m_total = 0;
    unsigned long m_done = 0;
    std::chrono::steady_clock::time_point m_start;
};

}  // namespace cli
