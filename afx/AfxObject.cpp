// CObject and run-time class information.
#include <afx.h>

#include <atomic>
#include <cstring>
#include <new>

namespace {

// Constant-initialised: classes of any source file link themselves in while the program starts, before or after this
// file's turn. Entries only ever go to the front, so the list can be walked without a lock.
std::atomic<CRuntimeClass*> newestClass{nullptr};

} // namespace

AFX_CLASSINIT::AFX_CLASSINIT(CRuntimeClass* newClass)
{
    CRuntimeClass* next = newestClass.load(std::memory_order_relaxed);
    do {
        newClass->m_pNextClass = next;
    } while (!newestClass.compare_exchange_weak(next, newClass, std::memory_order_release, std::memory_order_relaxed));
}

CObject* CRuntimeClass::CreateObject()
{
    if (!m_pfnCreateObject)
        return nullptr;
    try {
        return m_pfnCreateObject();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* baseClass) const
{
    for (const CRuntimeClass* at = this; at; at = at->m_pBaseClass) {
        if (at == baseClass)
            return TRUE;
    }
    return FALSE;
}

CRuntimeClass* CRuntimeClass::FromName(LPCSTR className)
{
    if (!className)
        return nullptr;
    CRuntimeClass* at = newestClass.load(std::memory_order_acquire);
    while (at && std::strcmp(at->m_lpszClassName, className) != 0)
        at = at->m_pNextClass;
    return at;
}

CRuntimeClass CObject::classCObject = {"CObject", static_cast<int>(sizeof(CObject)), 0xFFFF, nullptr, nullptr, nullptr};
static const AFX_CLASSINIT initCObject(RUNTIME_CLASS(CObject));

CRuntimeClass* CObject::GetRuntimeClass() const
{
    return RUNTIME_CLASS(CObject);
}

BOOL CObject::IsKindOf(const CRuntimeClass* runtimeClass) const
{
    return GetRuntimeClass()->IsDerivedFrom(runtimeClass);
}
