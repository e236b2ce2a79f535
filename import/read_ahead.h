// Reading inventories a few ahead of their writing: a thread of its own loads and parses the
// next documents while the caller writes the current one, so that one writer's parsing and its
// database's work overlap (each takes about half an import's time).
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "import/inventory.h"

// One document as the reader left it: `error` is set when it could not be loaded or parsed
// (then `inventory` must not be used).
struct ReadAheadItem {
    std::size_t index = 0;  // its place in the list given
    bool loaded = false;    // the loader gave its text
    bool parsed = false;    // ReadInventory accepted it
    std::string error;
    Inventory inventory;
};

class InventoryReadAhead {
public:
    // Loads document `index` into `text`, or false with `error` set. Called on the reader's thread.
    using Loader = std::function<bool(std::size_t index, std::string& text, std::string& error)>;

    // Starts reading documents 0 .. count-1 in order, named by `names` in messages, holding at most
    // `ahead` read documents that the caller has not taken yet.
    InventoryReadAhead(std::vector<std::string> names, Loader load, std::size_t ahead = 2);
    // Stops the reader (after the document it is reading) and waits for it.
    ~InventoryReadAhead();
    InventoryReadAhead(const InventoryReadAhead&) = delete;
    InventoryReadAhead& operator=(const InventoryReadAhead&) = delete;

    // The next document in order, waiting for it. Requires fewer calls than names.
    ReadAheadItem Next();

private:
    void ReadAll();

    const std::vector<std::string> m_names;
    const Loader m_load;
    const std::size_t m_ahead;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<ReadAheadItem> m_ready;
    bool m_stop = false;
    std::thread m_thread;  // last: started once the members it uses exist
};
