#include "import/read_ahead.h"

#include <exception>

#include "import/inventory_reader.h"

InventoryReadAhead::InventoryReadAhead(std::vector<std::string> names, Loader load, std::size_t ahead)
    : m_names(std::move(names)),
      m_load(std::move(load)),
      m_ahead(ahead == 0 ? 1 : ahead),
      m_thread([this] { ReadAll(); }) {}

InventoryReadAhead::~InventoryReadAhead() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

ReadAheadItem InventoryReadAhead::Next() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_ready.empty(); });
    ReadAheadItem item = std::move(m_ready.front());
    m_ready.pop_front();
    lock.unlock();
    m_changed.notify_all();
    return item;
}

void InventoryReadAhead::ReadAll() {
    for (std::size_t index = 0; index < m_names.size(); ++index) {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait(lock, [this] { return m_stop || m_ready.size() < m_ahead; });
            if (m_stop) return;
        }
        ReadAheadItem item;
        item.index = index;
        try {
            std::string text;
            item.loaded = m_load(index, text, item.error);
            if (item.loaded) item.parsed = ReadInventory(m_names[index], text, item.inventory, item.error);
        } catch (const std::exception& e) {  // out of memory: this document fails, the next are tried
            item.parsed = false;
            item.error = m_names[index] + ": cannot be read: " + e.what();
        }
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_ready.push_back(std::move(item));
        }
        m_changed.notify_all();
    }
}
