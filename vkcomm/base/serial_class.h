// Makes a class serialisable under its own name, as the macros of the same ending do in Windows hosts.
//
// In the body of a class that derives publicly from CObject, at its end:  VKCOMM_DECLARE_SERIAL(CThing)
// In its source, inside its namespace:  VKCOMM_IMPLEMENT_SERIAL(CThing, base::CObject::classCObject, 1)
// with the run-time class it derives from and its schema. The class needs a default constructor and its own
// Serialize. It gets
//   classCThing      its run-time class,
//   CreateObject     a new object, owned by the caller,
//   archive >> p     loads a CThing or a class derived from it by pointer: p is a new object, owned by the
//                    caller; null if the null object was stored; the same pointer again if the object was
//                    stored more than once; unchanged if the load fails.
#pragma once

#include "vkcomm/base/archive.h"
#include "vkcomm/base/object.h"

// Names of classes cannot stand in parentheses. NOLINTBEGIN(bugprone-macro-parentheses)
#define VKCOMM_DECLARE_SERIAL(Class)                                                                         \
public:                                                                                                      \
    static const ::vkcomm::base::CRuntimeClass class##Class;                                                 \
    static ::vkcomm::base::CObject* CreateObject();                                                          \
    const ::vkcomm::base::CRuntimeClass* GetRuntimeClass() const override;                                   \
    friend ::vkcomm::base::CArchive& operator>>(::vkcomm::base::CArchive& archive, Class*& pObject) {        \
        ::vkcomm::base::CObject* const pLoaded = archive.ReadObject(&class##Class);                          \
        if (!archive.Error()) pObject = static_cast<Class*>(pLoaded);                                        \
        return archive;                                                                                      \
    }

#define VKCOMM_IMPLEMENT_SERIAL(Class, classBase, schema)                                                    \
    const ::vkcomm::base::CRuntimeClass Class::class##Class = {#Class, schema, &Class::CreateObject,         \
                                                               &classBase};                                  \
    ::vkcomm::base::CObject* Class::CreateObject() { return new Class; }                                     \
    const ::vkcomm::base::CRuntimeClass* Class::GetRuntimeClass() const { return &class##Class; }            \
    static const ::vkcomm::base::ClassRegistration registrationOf##Class(Class::class##Class);
// NOLINTEND(bugprone-macro-parentheses)
