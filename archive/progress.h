// The progress sink a caller hands to long archive work, and the reference-counting pointer
// that holds it.
#pragma once

namespace LMServices {

// Implemented by the caller. The slot order is part of the contract: the destructor takes the
// first two slots, then AddRef (2), Release (3), BeginTask (4), SetCaption (5), EndTask (6),
// GetPosition (7), SetPosition (8).
class IProgress {
public:
    virtual ~IProgress() = default;
    virtual unsigned long AddRef() = 0;
    virtual unsigned long Release() = 0;
    virtual void BeginTask(long minimum, long maximum, wchar_t const* caption) = 0;
    virtual void SetCaption(wchar_t const* caption) = 0;
    virtual void EndTask() = 0;
    virtual long GetPosition() const = 0;
    // Answers false to ask the work to stop.
    virtual bool SetPosition(int position) = 0;
};

} // namespace LMServices

namespace Lumenary {

// Holds one counted reference: AddRef on taking a pointer, Release on letting it go.
template <typename T>
class CBasePtr {
public:
    CBasePtr() = default;
    explicit CBasePtr(T* pointer) { *this = pointer; }
    CBasePtr(CBasePtr const& other) { *this = other.m_pointer; }
    ~CBasePtr() {
        if (m_pointer) m_pointer->Release();
    }

    CBasePtr& operator=(CBasePtr const& other) { return *this = other.m_pointer; }
    // Taking the pointer already held changes nothing; otherwise the new one is referenced
    // before the old one is released.
    CBasePtr& operator=(T* pointer) {
        if (pointer == m_pointer) return *this;
        T* old = m_pointer;
        m_pointer = pointer;
        if (m_pointer) m_pointer->AddRef();
        if (old) old->Release();
        return *this;
    }

    T* get() const { return m_pointer; }
    T* operator->() const { return m_pointer; }
    explicit operator bool() const { return m_pointer != nullptr; }

private:
    T* m_pointer = nullptr;
};

} // namespace Lumenary
