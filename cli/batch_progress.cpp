// Draws the progress steps of the library's purges in batches on a terminal.
#include "cli/batch_progress.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace cli {

BatchProgress::BatchProgress(CNorvik& db, const char* label)
    : m_db(db), m_label(label), m_shown(isatty(STDERR_FILENO) != 0), m_start(std::chrono::steady_clock::now()) {
    if (m_shown) m_db.ProgSetCallback(&BatchProgress::Callback, reinterpret_cast<CallbackValue>(this));
}

BatchProgress::~BatchProgress() {
    if (!m_shown) return;
    m_db.ProgSetCallback(nullptr, 0);
    std::cerr << "\r\033[K" << std::flush;
}

int BatchProgress::Callback(int code, CallbackValue value, CallbackValue context) {
    auto* self = reinterpret_cast<BatchProgress*>(context);
    if (code == CNorvik::kProgRange) {
        self->m_total = static_cast<unsigned long>(value);
        self->m_done = 0;
    } else if (code == CNorvik::kProgStep) {
        ++self->m_done;
    } else {
        return 1;
    }
    self->Draw();
    return 1;
}

void BatchProgress::Draw() const {
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    const unsigned long percent = m_total ? m_done * 100 / m_total : 100;
    char line[200];
    std::snprintf(line, sizeof line, "\r\033[K%s: %lu%% (batch %lu of %lu, %.0f s)", m_label.c_str(), percent, m_done,
                  m_total, elapsed);
    std::cerr << line << std::flush;
}

}  // namespace cli
