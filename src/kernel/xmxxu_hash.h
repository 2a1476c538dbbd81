#ifndef MARL_KERNEL_XMXXU_HASH_H
#define MARL_KERNEL_XMXXU_HASH_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "kernel/xmxxu_allo.h"

// The bucket count for a wanted size: the first prime of the library's fixed list that is not
// below it, or the last prime when none is.
std::size_t primeBucketCount(std::size_t wanted);

// A table of singly linked buckets over a vector of bucket heads, all in the host allocator.
// Entries never move in memory, not even when the table grows, so pointers into stored
// values stay valid until the entry is cleared. Traits supply:
//   using Key;  static Key const& key(Value const&);
//   static std::uint32_t hash(Key const&);  static bool equal(Key const&, Key const&);
template <class Value, class Traits>
class CHashTable : public AllocPolicyRollArea {
 public:
  using Key = typename Traits::Key;

  explicit CHashTable(std::size_t wantedSize) : buckets(primeBucketCount(wantedSize), nullptr) {}
  CHashTable(CHashTable const&) = delete;
  CHashTable& operator=(CHashTable const&) = delete;
  ~CHashTable() { clear(); }

  std::size_t size() const noexcept { return entries; }
  bool empty() const noexcept { return entries == 0; }
  std::size_t bucketCount() const noexcept { return buckets.size(); }

  Value* find(Key const& key) const noexcept { return findIn(buckets[bucketOf(key)], key); }

  // The stored value with this key; when there is none, a value is constructed from `args`
  // (it must carry the same key) and stored at the front of its chain. The table grows to
  // hold one entry more before it looks.
  template <class... Args>
  Value& emplace(Key const& key, Args&&... args) {
    reserve(entries + 1);
    Entry*& head = buckets[bucketOf(key)];
    if (Value* found = findIn(head, key)) return *found;
    Entry* entry = entryAllocator().allocate(1);
    try {
      ::new (entry) Entry{head, Value(std::forward<Args>(args)...)};
    } catch (...) {
      entryAllocator().deallocate(entry, 1);
      throw;
    }
    head = entry;
    ++entries;
    return entry->value;
  }

  // Grows the bucket vector when `wanted` exceeds the bucket count; entries keep their place
  // in memory and go to the front of their new chain.
  void reserve(std::size_t wanted) {
    if (wanted <= buckets.size()) return;
    std::size_t count = primeBucketCount(wanted);
    if (count <= buckets.size()) return;
    std::vector<Entry*, tova_alloc<Entry*>> grown(count, nullptr);
    for (Entry* head : buckets) {
      while (head) {
        Entry* entry = head;
        head = head->next;
        Entry*& target = grown[Traits::hash(Traits::key(entry->value)) % count];
        entry->next = target;
        target = entry;
      }
    }
    buckets.swap(grown);
  }

  // Frees every entry; the bucket vector keeps its size.
  void clear() noexcept {
    for (Entry*& head : buckets) {
      while (head) {
        Entry* entry = head;
        head = head->next;
        entry->~Entry();
        entryAllocator().deallocate(entry, 1);
      }
    }
    entries = 0;
  }

  template <class Visit>
  void forEach(Visit&& visit) const {
    for (Entry* head : buckets)
      for (Entry* entry = head; entry; entry = entry->next) visit(entry->value);
  }

 private:
  struct Entry {
    Entry* next;
    Value value;
  };

  static tova_alloc<Entry> entryAllocator() noexcept { return {}; }
  static Value* findIn(Entry* chain, Key const& key) noexcept {
    for (Entry* entry = chain; entry; entry = entry->next)
      if (Traits::equal(Traits::key(entry->value), key)) return &entry->value;
    return nullptr;
  }
  std::size_t bucketOf(Key const& key) const noexcept { return Traits::hash(key) % buckets.size(); }

  std::vector<Entry*, tova_alloc<Entry*>> buckets;
  std::size_t entries = 0;
};

#endif
