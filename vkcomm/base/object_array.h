// CMyObArray: objects by pointer, in order. The array owns its objects: what is removed, or still there when
// the array goes, is deleted. Null may stand among them.
//
// Nothing throws but what a growing container throws. One thread at a time.
#pragma once

#include <memory>
#include <vector>

#include "vkcomm/base/object.h"
#include "vkcomm/export.h"

namespace vkcomm::base {

class VKCOMM_API CMyObArray {
public:
    int GetSize() const { return static_cast<int>(m_objects.size()); }

    // Null outside 0 to GetSize() - 1. Stays the array's.
    CObject* GetAt(int nIndex) const;

    // Appends the object, which becomes the array's and must not be another's; its index is returned.
    int Add(std::unique_ptr<CObject> object);

    int Add(CObject* pObject) { return Add(std::unique_ptr<CObject>(pObject)); }

    // Removes and deletes one object; an index outside the array does nothing.
    void RemoveAt(int nIndex);

    void RemoveAll() { m_objects.clear(); }

    // The number of objects, then each by pointer. Loading replaces all objects, or none when it fails; an
    // object that the archive has loaded before cannot be owned twice and is a failure.
    void Serialize(CArchive& archive);

private:
    bool contains(int nIndex) const { return nIndex >= 0 && nIndex < GetSize(); }

    void load(CArchive& archive);

    std::vector<std::unique_ptr<CObject>> m_objects;
};

}  // namespace vkcomm::base
