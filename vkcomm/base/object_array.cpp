#include "vkcomm/base/object_array.h"

#include <cstdint>
#include <utility>

#include "vkcomm/base/archive.h"

namespace vkcomm::base {

CObject* CMyObArray::GetAt(int nIndex) const {
    return contains(nIndex) ? m_objects[static_cast<std::size_t>(nIndex)].get() : nullptr;
}

int CMyObArray::Add(std::unique_ptr<CObject> object) {
    m_objects.push_back(std::move(object));
    return GetSize() - 1;
}

void CMyObArray::RemoveAt(int nIndex) {
    if (contains(nIndex)) m_objects.erase(m_objects.begin() + nIndex);
}

void CMyObArray::Serialize(CArchive& archive) {
    if (archive.IsLoading()) return load(archive);
    archive.WriteCount(static_cast<std::uint32_t>(m_objects.size()));
    for (const auto& object : m_objects)
        archive.WriteObject(object.get());
}

void CMyObArray::load(CArchive& archive) {
    std::vector<std::unique_ptr<CObject>> loaded;
    for (std::uint32_t count = archive.ReadCount(); count > 0 && !archive.Error(); --count)
        loaded.push_back(archive.ReadOwned(nullptr));
    if (!archive.Error()) m_objects = std::move(loaded);
}

}  // namespace vkcomm::base
