#pragma once

#include "companion/text/RefCountedObject.h"
#include "companion/text/StringBuffer.h"

#include <memory>
#include <string_view>
#include <vector>

// Base for objects held by an owning ExtPtrArray.
class TavixObject {
public:
    virtual ~TavixObject() = default;
};

// An array that owns its objects; slots may be null.
class ExtPtrArray {
public:
    int getSize() const { return static_cast<int>(m_items.size()); }
    TavixObject* elementAt(int i) const {
        return (i >= 0 && i < getSize()) ? m_items[static_cast<size_t>(i)].get() : nullptr;
    }
    void appendObject(std::unique_ptr<TavixObject> obj) { m_items.push_back(std::move(obj)); }
    // Stores obj at i, growing the array with null slots as needed; an object
    // already at i is destroyed.
    void setAt(int i, std::unique_ptr<TavixObject> obj) {
        if (i < 0)
            return;
        if (static_cast<size_t>(i) >= m_items.size())
            m_items.resize(static_cast<size_t>(i) + 1);
        m_items[static_cast<size_t>(i)] = std::move(obj);
    }
    void removeAllObjects() { m_items.clear(); }

private:
    std::vector<std::unique_ptr<TavixObject>> m_items;
};

// An array of reference-counted objects; it owns one reference to each.
class ExtPtrArrayRc {
public:
    ExtPtrArrayRc() = default;
    ExtPtrArrayRc(const ExtPtrArrayRc&) = delete;
    ExtPtrArrayRc& operator=(const ExtPtrArrayRc&) = delete;
    ~ExtPtrArrayRc() { removeAllObjects(); }

    int getSize() const { return static_cast<int>(m_items.size()); }
    // Borrowed pointer, or null out of range.
    RefCountedObject* elementAt(int i) const {
        return (i >= 0 && i < getSize()) ? m_items[static_cast<size_t>(i)] : nullptr;
    }
    // Takes over the caller's reference.
    void appendRefCounted(RefCountedObject* obj) { m_items.push_back(obj); }
    // Drops the reference held at i and closes the gap.
    void removeRefCountedAt(int i) {
        if (i < 0 || i >= getSize())
            return;
        if (m_items[static_cast<size_t>(i)])
            m_items[static_cast<size_t>(i)]->decRefCount();
        m_items.erase(m_items.begin() + i);
    }
    // Stores obj (taking the caller's reference) at i, growing with nulls;
    // the reference previously there is dropped.
    void replaceRefCountedAt(int i, RefCountedObject* obj) {
        if (i < 0)
            return;
        if (static_cast<size_t>(i) >= m_items.size())
            m_items.resize(static_cast<size_t>(i) + 1, nullptr);
        RefCountedObject*& slot = m_items[static_cast<size_t>(i)];
        if (slot)
            slot->decRefCount();
        slot = obj;
    }
    void removeAllObjects() {
        for (RefCountedObject* p : m_items)
            if (p)
                p->decRefCount();
        m_items.clear();
    }

private:
    std::vector<RefCountedObject*> m_items;
};

// An owning array of strings.
class ExtPtrArraySb {
public:
    int getSize() const { return static_cast<int>(m_items.size()); }
    StringBuffer* sbAt(int i) const {
        return (i >= 0 && i < getSize()) ? m_items[static_cast<size_t>(i)].get() : nullptr;
    }
    void appendSb(std::string_view s) { m_items.push_back(std::make_unique<StringBuffer>(s)); }
    void removeAllObjects() { m_items.clear(); }

private:
    std::vector<std::unique_ptr<StringBuffer>> m_items;
};
