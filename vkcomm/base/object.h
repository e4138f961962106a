// The root of serialisable classes: run-time class, creation by class name, Serialize.
//
// The names are those of the application framework that Windows hosts are written with; a class is made
// serialisable with the two macros of serial_class.h. Nothing here fails or throws but what a constructor
// throws.
#pragma once

#include <cstdint>
#include <string_view>

#include "vkcomm/export.h"

namespace vkcomm::base {

class CArchive;
class CObject;

// What is known of a class at run time. One constant object a class, never copied, alive until the process ends.
struct VKCOMM_API CRuntimeClass {
    const char* m_lpszClassName;      // as archives store it, 8-bit
    std::uint16_t m_wSchema;          // version of the class's archive layout
    CObject* (*m_pfnCreateObject)();  // null: cannot be created by name
    const CRuntimeClass* m_pBaseClass;

    // A new object, owned by the caller; null when the class cannot be created by name.
    CObject* CreateObject() const;

    // True also for the class itself.
    bool IsDerivedFrom(const CRuntimeClass* pBaseClass) const;

    // The registered class of that name, null when there is none; of several the one registered last. Any
    // thread.
    static const CRuntimeClass* FromName(std::string_view name);
};

// Makes a class known to FromName for the rest of the process. Objects of this type are static ones, made by
// VKCOMM_IMPLEMENT_SERIAL; several threads may make them at once.
class VKCOMM_API ClassRegistration {
public:
    explicit ClassRegistration(const CRuntimeClass& registered);

    ClassRegistration(const ClassRegistration&) = delete;
    ClassRegistration& operator=(const ClassRegistration&) = delete;

private:
    friend struct CRuntimeClass;

    const CRuntimeClass& m_class;
    const ClassRegistration* m_next = nullptr;
};

// The virtual operations stand in the order that hosts know: run-time class, destructor, Serialize.
class VKCOMM_API CObject {
public:
    static const CRuntimeClass classCObject;

    virtual const CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject() = default;

    // Stores into the archive or loads from it, by its direction. A load that fails changes nothing here; the
    // archive tells the failure.
    virtual void Serialize(CArchive& archive);

    bool IsKindOf(const CRuntimeClass* pClass) const { return GetRuntimeClass()->IsDerivedFrom(pClass); }

    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

protected:
    CObject() = default;
};

}  // namespace vkcomm::base
