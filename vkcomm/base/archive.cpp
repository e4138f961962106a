#include "vkcomm/base/archive.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm::base {

namespace {

// Tags of objects stored by pointer. Numbers that do not fit into 15 bits beside these follow in 32 bits.
constexpr std::uint16_t kNewClassTag = 0xFFFF;
constexpr std::uint16_t kClassBit = 0x8000;
constexpr std::uint16_t kLongTag = 0x7FFF;
constexpr std::uint32_t kLongClassBit = 0x80000000;

// Lengths of texts: each mark announces the next longer form, kWideMark that the characters have 16 bits.
constexpr unsigned char kLong8 = 0xFF;
constexpr std::uint16_t kLong16 = 0xFFFF;
constexpr std::uint16_t kWideMark = 0xFFFE;
constexpr std::uint32_t kLong32 = 0xFFFFFFFF;

// The framework's own readers refuse longer names.
constexpr std::size_t kLongestClassName = 63;

std::wstring widened(ByteSpan bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    std::wstring wide = toWide(text);
    if (toUtf8(wide) == text) return wide;
    return {bytes.begin(), bytes.end()};
}

// A class name from a file as it can be shown.
std::string printable(std::string_view name) {
    std::string shown(name);
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return shown;
}

std::string numbered(const char* format, std::uint64_t first, std::uint64_t second = 0) {
    std::string text;
    appendFormat(text, format, static_cast<unsigned long long>(first),
                 static_cast<unsigned long long>(second));
    return text;
}

}  // namespace

std::string ArchiveError::message() const {
    return fault == ArchiveFault::kNone ? std::string() : what + numbered(" (at byte %llu)", offset);
}

void CArchive::fail(ArchiveFault fault, std::size_t offset, std::string what) {
    if (!m_error) m_error = {fault, offset, std::move(what)};
}

bool CArchive::take(std::uint64_t size, ByteSpan& taken) {
    if (IsStoring())
        fail(ArchiveFault::kWrongDirection, m_stored->size(), "a load from an archive that stores");
    if (m_error) return false;
    if (size > Remaining()) {
        fail(ArchiveFault::kCutOff, m_at, numbered("%llu bytes wanted, %llu left", size, Remaining()));
        return false;
    }
    taken = m_bytes.subspan(m_at, static_cast<std::size_t>(size));
    m_at += taken.size();
    return true;
}

void CArchive::Write(ByteSpan bytes) {
    if (IsLoading()) fail(ArchiveFault::kWrongDirection, m_at, "a store into an archive that loads");
    if (!m_error) m_stored->insert(m_stored->end(), bytes.begin(), bytes.end());
}

bool CArchive::Read(std::span<unsigned char> bytes) {
    ByteSpan taken;
    if (!take(bytes.size(), taken)) return false;
    std::copy(taken.begin(), taken.end(), bytes.begin());
    return true;
}

CArchive& CArchive::operator<<(const std::wstring& text) {
    const std::u16string units = toUtf16(text);
    const std::size_t size = units.size();
    *this << kLong8 << kWideMark;
    if (size < kLong8) {
        *this << static_cast<unsigned char>(size);
    } else if (size < kWideMark) {
        *this << kLong8 << static_cast<std::uint16_t>(size);
    } else {
        *this << kLong8 << kLong16 << static_cast<std::uint32_t>(size);
    }
    for (const char16_t unit : units)
        *this << static_cast<std::uint16_t>(unit);
    return *this;
}

CArchive& CArchive::operator>>(std::wstring& text) {
    bool wide = false;
    const std::uint64_t length = loadTextLength(wide);
    // Half of what a length can say is beyond every file, so that doubling it cannot overflow unnoticed.
    const std::uint64_t size = wide ? std::min(length, ~std::uint64_t{0} / 2) * 2 : length;
    ByteSpan bytes;
    if (take(size, bytes)) text = wide ? toWide(utf16Units(bytes, std::endian::little)) : widened(bytes);
    return *this;
}

std::uint64_t CArchive::loadTextLength(bool& wide) {
    const auto size8 = loaded<unsigned char>();
    if (size8 != kLong8) return size8;
    const auto size16 = loaded<std::uint16_t>();
    if (size16 == kWideMark && !wide) {
        wide = true;
        return loadTextLength(wide);
    }
    if (size16 != kLong16) return size16;
    const auto size32 = loaded<std::uint32_t>();
    if (size32 != kLong32) return size32;
    const auto low = loaded<std::uint32_t>();
    return low | std::uint64_t{loaded<std::uint32_t>()} << 32;
}

void CArchive::WriteCount(std::uint32_t count) {
    if (count < kLong16) {
        *this << static_cast<std::uint16_t>(count);
    } else {
        *this << kLong16 << count;
    }
}

std::uint32_t CArchive::ReadCount() {
    const auto count = loaded<std::uint16_t>();
    return count == kLong16 ? loaded<std::uint32_t>() : count;
}

void CArchive::storeTag(bool isClass, std::uint32_t index) {
    if (index < kLongTag) {
        *this << static_cast<std::uint16_t>(isClass ? kClassBit | index : index);
    } else {
        *this << kLongTag << (isClass ? kLongClassBit | index : index);
    }
}

void CArchive::storeClass(const CRuntimeClass& type) {
    const auto [place, isNew] =
        m_numbers.try_emplace(&type, static_cast<std::uint32_t>(m_numbers.size() + 1));
    if (!isNew) return storeTag(true, place->second);
    const std::string_view name = type.m_lpszClassName;
    *this << kNewClassTag << type.m_wSchema << static_cast<std::uint16_t>(name.size());
    Write({reinterpret_cast<const unsigned char*>(name.data()), name.size()});
}

void CArchive::WriteObject(CObject* pObject) {
    if (pObject == nullptr) return storeTag(false, 0);
    if (const auto known = m_numbers.find(pObject); known != m_numbers.end())
        return storeTag(false, known->second);
    const std::size_t offset = IsStoring() ? m_stored->size() : m_at;
    storeClass(*pObject->GetRuntimeClass());
    m_numbers.emplace(pObject, static_cast<std::uint32_t>(m_numbers.size() + 1));
    if (!m_error) serialize(*pObject, offset);
}

void CArchive::serialize(CObject& object, std::size_t offset) {
    if (m_depth == m_nDeepest) return fail(ArchiveFault::kNestedTooDeep, offset, "objects nested too deep");
    ++m_depth;
    object.Serialize(*this);
    --m_depth;
}

CArchive::Tag CArchive::loadTag() {
    const std::size_t offset = m_at;
    const auto tag = loaded<std::uint16_t>();
    if (tag == kNewClassTag) return {Tag::kNewClass, 0, offset};
    std::uint32_t index = (tag & kClassBit) == 0 ? tag : (tag & ~std::uint32_t{kClassBit}) | kLongClassBit;
    if (tag == kLongTag) index = loaded<std::uint32_t>();
    return {(index & kLongClassBit) == 0 ? Tag::kObject : Tag::kClass, index & ~kLongClassBit, offset};
}

const CRuntimeClass* CArchive::loadNewClass(std::size_t offset) {
    const auto schema = loaded<std::uint16_t>();
    const auto size = loaded<std::uint16_t>();
    ByteSpan bytes;
    if (size > kLongestClassName) fail(ArchiveFault::kBadClass, offset, "class name too long");
    if (!take(size, bytes)) return nullptr;
    const std::string_view name(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const CRuntimeClass* const type = CRuntimeClass::FromName(name);
    if (type == nullptr) {
        fail(ArchiveFault::kBadClass, offset, "unknown class \"" + printable(name) + '"');
    } else if (type->m_wSchema != schema) {
        fail(ArchiveFault::kBadSchema, offset,
             "class " + printable(name) + numbered(" in schema %llu, not %llu", schema, type->m_wSchema));
    }
    return type;
}

const CArchive::Numbered* CArchive::find(const Tag& tag) {
    const bool known = tag.index < m_numbered.size();
    const bool isObject = known && m_numbered[tag.index].object != nullptr;
    if (known && tag.index != 0 && isObject == (tag.kind == Tag::kObject)) return &m_numbered[tag.index];
    fail(ArchiveFault::kBadIndex, tag.offset,
         numbered(tag.kind == Tag::kObject ? "no object has number %llu" : "no class has number %llu",
                  tag.index));
    return nullptr;
}

// The class that a tag names; null on failure.
const CRuntimeClass* CArchive::loadClass(const Tag& tag, const CRuntimeClass* pWanted) {
    const CRuntimeClass* type = nullptr;
    if (tag.kind == Tag::kNewClass) {
        type = loadNewClass(tag.offset);
        m_numbered.push_back({type, nullptr});
    } else if (const Numbered* const known = find(tag)) {
        type = known->type;
    }
    return m_error || !isWanted(*type, tag, pWanted) ? nullptr : type;
}

bool CArchive::isWanted(const CRuntimeClass& type, const Tag& tag, const CRuntimeClass* pWanted) {
    if (pWanted == nullptr || type.IsDerivedFrom(pWanted)) return true;
    fail(ArchiveFault::kBadClass, tag.offset,
         std::string("class ") + type.m_lpszClassName + " where " + pWanted->m_lpszClassName + " is wanted");
    return false;
}

std::unique_ptr<CObject> CArchive::create(const Tag& tag, const CRuntimeClass* pWanted) {
    const CRuntimeClass* const type = loadClass(tag, pWanted);
    if (type == nullptr) return nullptr;
    std::unique_ptr<CObject> object(type->CreateObject());
    if (object == nullptr) {
        fail(ArchiveFault::kBadClass, tag.offset,
             std::string("class ") + type->m_lpszClassName + " cannot be created");
        return nullptr;
    }
    m_numbered.push_back({type, object.get()});
    serialize(*object, tag.offset);
    if (m_error) object.reset();
    return object;
}

CObject* CArchive::ReadObject(const CRuntimeClass* pWanted) {
    const Tag tag = loadTag();
    if (tag.kind != Tag::kObject) return create(tag, pWanted).release();
    if (m_error || tag.index == 0) return nullptr;
    const Numbered* const known = find(tag);
    return known != nullptr && isWanted(*known->type, tag, pWanted) ? known->object : nullptr;
}

std::unique_ptr<CObject> CArchive::ReadOwned(const CRuntimeClass* pWanted) {
    const Tag tag = loadTag();
    if (tag.kind != Tag::kObject) return create(tag, pWanted);
    if (tag.index != 0) fail(ArchiveFault::kRepeated, tag.offset, "the same object once more");
    return nullptr;
}

}  // namespace vkcomm::base
