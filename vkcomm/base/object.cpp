#include "vkcomm/base/object.h"

#include <atomic>

namespace vkcomm::base {

namespace {

constinit std::atomic<const ClassRegistration*> g_newest = nullptr;

}  // namespace

const CRuntimeClass CObject::classCObject = {"CObject", 0, nullptr, nullptr};

CObject* CRuntimeClass::CreateObject() const {
    return m_pfnCreateObject == nullptr ? nullptr : m_pfnCreateObject();
}

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass* pBaseClass) const {
    const CRuntimeClass* each = this;
    while (each != nullptr && each != pBaseClass)
        each = each->m_pBaseClass;
    return each != nullptr;
}

const CRuntimeClass* CRuntimeClass::FromName(std::string_view name) {
    const ClassRegistration* each = g_newest.load(std::memory_order_acquire);
    while (each != nullptr && each->m_class.m_lpszClassName != name)
        each = each->m_next;
    return each == nullptr ? nullptr : &each->m_class;
}

ClassRegistration::ClassRegistration(const CRuntimeClass& registered)
    : m_class(registered), m_next(g_newest.load(std::memory_order_relaxed)) {
    while (
        !g_newest.compare_exchange_weak(m_next, this, std::memory_order_release, std::memory_order_relaxed))
        continue;
}

const CRuntimeClass* CObject::GetRuntimeClass() const { return &classCObject; }

void CObject::Serialize(CArchive&) {}

}  // namespace vkcomm::base
