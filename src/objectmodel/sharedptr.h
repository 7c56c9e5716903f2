// sharedptr.h: the intrusive reference count and the counted pointer that every object handle uses.
#ifndef VEXIL_SHAREDPTR_H
#define VEXIL_SHAREDPTR_H

#include "vexil_export.h"

#include <cstddef>

namespace Vexil {

/// Intrusive, non-atomic reference count. The count is 0 when the object is made; SharedPtr does the rest.
class VEXIL_EXPORT Shared
{
public:
    Shared()
        : m_refCount(0)
    {
    }
    Shared(const Shared &)
        : m_refCount(0)
    {
    }
    Shared &operator=(const Shared &) { return *this; }

    void ref() const { ++m_refCount; }
    /// Drops one reference; true when none is left and the owner must delete the object.
    bool deref() const { return --m_refCount == 0; }
    unsigned int refCount() const { return m_refCount; }

protected:
    ~Shared() = default;

private:
    mutable unsigned int m_refCount;
};

/// Counted pointer to a Shared subclass; deletes the pointee through its virtual destructor on the last release.
template <class T>
class SharedPtr
{
public:
    SharedPtr()
        : m_ptr(nullptr)
    {
    }
    SharedPtr(std::nullptr_t)
        : m_ptr(nullptr)
    {
    }
    SharedPtr(T *p)
        : m_ptr(p)
    {
        if (m_ptr)
            m_ptr->ref();
    }
    SharedPtr(const SharedPtr &other)
        : m_ptr(other.m_ptr)
    {
        if (m_ptr)
            m_ptr->ref();
    }
    template <class U>
    SharedPtr(const SharedPtr<U> &other)
        : m_ptr(other.get())
    {
        if (m_ptr)
            m_ptr->ref();
    }
    SharedPtr(SharedPtr &&other) noexcept
        : m_ptr(other.m_ptr)
    {
        other.m_ptr = nullptr;
    }
    ~SharedPtr() { release(m_ptr); }

    SharedPtr &operator=(const SharedPtr &other)
    {
        // Take the new reference before dropping the old one, so self-assignment keeps the object.
        if (other.m_ptr)
            other.m_ptr->ref();
        T *old = m_ptr;
        m_ptr = other.m_ptr;
        release(old);
        return *this;
    }
    SharedPtr &operator=(SharedPtr &&other) noexcept
    {
        if (this != &other) {
            T *old = m_ptr;
            m_ptr = other.m_ptr;
            other.m_ptr = nullptr;
            release(old);
        }
        return *this;
    }

    T *get() const { return m_ptr; }
    T *operator->() const { return m_ptr; }
    T &operator*() const { return *m_ptr; }
    explicit operator bool() const { return m_ptr != nullptr; }

    template <class U>
    bool operator==(const SharedPtr<U> &other) const
    {
        return m_ptr == other.get();
    }
    template <class U>
    bool operator!=(const SharedPtr<U> &other) const
    {
        return m_ptr != other.get();
    }
    bool operator==(std::nullptr_t) const { return m_ptr == nullptr; }
    bool operator!=(std::nullptr_t) const { return m_ptr != nullptr; }

private:
    static void release(T *p)
    {
        if (p && p->deref())
            delete p;
    }
    T *m_ptr;
};

template <class T>
bool operator==(std::nullptr_t, const SharedPtr<T> &p)
{
    return p == nullptr;
}
template <class T>
bool operator!=(std::nullptr_t, const SharedPtr<T> &p)
{
    return p != nullptr;
}

} // namespace Vexil

#endif // VEXIL_SHAREDPTR_H
