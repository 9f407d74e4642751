#pragma once

#include <atomic>

// Intrusive reference count for the objects that the verifier hands around
// by pointer (XML element handles, keys). A new object starts with one
// reference, owned by whoever created it.
class RefCountedObject {
public:
    RefCountedObject() = default;
    RefCountedObject(const RefCountedObject&) = delete;
    RefCountedObject& operator=(const RefCountedObject&) = delete;

    void incRefCount() { m_refCount.fetch_add(1, std::memory_order_relaxed); }
    void decRefCount() {
        if (m_refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
    int getRefCount() const { return m_refCount.load(std::memory_order_relaxed); }

protected:
    virtual ~RefCountedObject() = default;

private:
    std::atomic<int> m_refCount{1};
};

// Owns one reference; releases it on scope exit.
template <class T> class RefPtr {
public:
    RefPtr() = default;
    explicit RefPtr(T* p) : m_p(p) {}
    RefPtr(const RefPtr&) = delete;
    RefPtr& operator=(const RefPtr&) = delete;
    RefPtr(RefPtr&& o) noexcept : m_p(o.release()) {}
    RefPtr& operator=(RefPtr&& o) noexcept {
        reset(o.release());
        return *this;
    }
    ~RefPtr() { reset(); }

    T* get() const { return m_p; }
    T* operator->() const { return m_p; }
    T& operator*() const { return *m_p; }
    explicit operator bool() const { return m_p != nullptr; }
    T* release() {
        T* p = m_p;
        m_p = nullptr;
        return p;
    }
    void reset(T* p = nullptr) {
        if (m_p)
            m_p->decRefCount();
        m_p = p;
    }

private:
    T* m_p = nullptr;
};
