#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

// A stack of namespace bindings (anything with a `prefix`), searched from
// the innermost. Short stacks, as in nearly every document, are scanned; once
// a stack grows past a few dozen entries it keeps an index from each prefix
// to its innermost entry, so that thousands of declarations in scope cost a
// lookup each instead of a scan each.
template <class Binding> class PrefixStack {
public:
    size_t size() const { return m_items.size(); }
    bool empty() const { return m_items.empty(); }
    std::span<const Binding> items() const { return m_items; }
    std::span<const Binding> itemsFrom(size_t first) const { return std::span<const Binding>(m_items).subspan(first); }

    void push(Binding binding) {
        m_items.push_back(std::move(binding));
        if (m_indexed || m_items.size() > kIndexFrom) [[unlikely]]
            indexPushed();
    }

    // Drops the entries from `size` on, innermost first.
    void truncate(size_t size) {
        if (m_indexed) [[unlikely]]
            unindexFrom(size);
        m_items.resize(size);
    }

    // The innermost entry with this prefix, or null.
    const Binding* find(std::string_view prefix) const {
        if (m_indexed) {
            const auto hit = m_innermost.find(prefix);
            return hit == m_innermost.end() ? nullptr : &m_items[hit->second];
        }
        for (auto it = m_items.rbegin(); it != m_items.rend(); ++it)
            if (samePrefix(it->prefix, prefix))
                return &*it;
        return nullptr;
    }

    // Where `binding` (an entry of this stack) stands.
    size_t indexOf(const Binding* binding) const { return static_cast<size_t>(binding - m_items.data()); }

private:
    static constexpr size_t kIndexFrom = 32;

    // Prefixes are a few bytes: a loop beats the call memcmp would be.
    static bool samePrefix(std::string_view a, std::string_view b) {
        if (a.size() != b.size())
            return false;
        for (size_t i = 0; i < a.size(); ++i)
            if (a[i] != b[i])
                return false;
        return true;
    }

    // Kept out of line: the scan path is the common one and stays small
    // enough for callers to inline.
    [[gnu::noinline]] void indexPushed() {
        if (m_indexed)
            indexLast();
        else
            buildIndex();
    }

    [[gnu::noinline]] void unindexFrom(size_t size) {
        for (size_t i = m_items.size(); i > size; --i)
            unindex(static_cast<uint32_t>(i - 1));
        if (size == 0) {
            m_innermost.clear();
            m_previous.clear();
            m_indexed = false;
        }
    }
    static constexpr uint32_t kNone = UINT32_MAX;

    void buildIndex() {
        m_indexed = true;
        for (size_t i = 0; i < m_items.size(); ++i)
            indexAt(static_cast<uint32_t>(i));
    }

    void indexLast() { indexAt(static_cast<uint32_t>(m_items.size() - 1)); }

    void indexAt(uint32_t at) {
        auto [hit, inserted] = m_innermost.try_emplace(m_items[at].prefix, at);
        m_previous.push_back(inserted ? kNone : hit->second);
        hit->second = at;
    }

    void unindex(uint32_t at) {
        const uint32_t previous = m_previous[at];
        if (previous == kNone)
            m_innermost.erase(m_items[at].prefix);
        else
            m_innermost[m_items[at].prefix] = previous;
        m_previous.pop_back();
    }

    std::vector<Binding> m_items;
    // Indexed only: each prefix's innermost entry, and for each entry the
    // one with its prefix that it shadows.
    bool m_indexed = false;
    std::unordered_map<std::string_view, uint32_t> m_innermost;
    std::vector<uint32_t> m_previous;
};
