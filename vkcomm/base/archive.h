// CArchive: values and objects to and from bytes, in the layout of the application framework that Windows hosts
// are written with, so that the files of either side are read by the other.
//
// Values stand one after another in little-endian order, without padding or type tags; an archive has neither
// header nor trailer. A text is a length and its characters; texts are stored in 16-bit characters (UTF-16) and
// loaded in that form or in 8-bit characters, which are taken as UTF-8 where they are that and else as the
// characters of the same number. An object stored by pointer has a tag that names its class when the class is
// new to the archive, gives the class's number when it is not, and stands for the object when that was stored
// before; null is 0. Classes and objects are numbered together from 1.
//
// Works on memory; see platform/files.h for files. Failure: the first one is kept with its place in Error().
// Behind it nothing is loaded or stored any more and what was to be loaded keeps its value, so that a whole
// layout may be loaded and Error() asked once. Memory: no length is believed before the bytes that it promises
// are known to be there, so that loading takes no more than a small multiple of the bytes given. Nothing throws
// but what a growing container throws. One thread at a time.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "vkcomm/base/object.h"
#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm::base {

enum class ArchiveFault {
    kNone,
    kCutOff,          // a value, or the length of a text, needs more bytes than there are
    kBadIndex,        // a number that no class or object has, or that has the other of the two
    kBadClass,        // no such class, or one that is not wanted here
    kBadSchema,       // the class is known with another schema
    kRepeated,        // an object a second time where each must be a new one
    kNestedTooDeep,   // objects in objects in objects
    kWrongDirection,  // a load from an archive that stores or the other way round
};

struct VKCOMM_API ArchiveError {
    ArchiveFault fault = ArchiveFault::kNone;
    std::size_t offset = 0;  // of the tag or value that failed, in bytes from the front
    std::string what;        // in English, for a person

    explicit operator bool() const { return fault != ArchiveFault::kNone; }

    // "what (at byte offset)", empty when nothing failed.
    std::string message() const;
};

// The types whose width is the same on every host. Deliberate: no long, which has 4 bytes in the archives of
// Windows hosts and 8 on others.
template <typename T>
concept ArchiveValue = std::same_as<T, unsigned char> || std::same_as<T, std::int16_t> ||
    std::same_as<T, std::uint16_t> || std::same_as<T, std::int32_t> || std::same_as<T, std::uint32_t> ||
    std::same_as<T, float> || std::same_as<T, double>;

class VKCOMM_API CArchive {
public:
    // Objects in objects are followed this deep.
    static constexpr int m_nDeepest = 500;

    // Appends to bytes, which must stay until the archive is gone.
    static CArchive StoreTo(std::vector<unsigned char>& bytes) { return CArchive(&bytes, {}); }

    // Loads from bytes, which must stay until the archive is gone.
    static CArchive LoadFrom(ByteSpan bytes) { return CArchive(nullptr, bytes); }

    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    bool IsStoring() const { return m_stored != nullptr; }

    bool IsLoading() const { return m_stored == nullptr; }

    const ArchiveError& Error() const { return m_error; }

    // Bytes not loaded yet.
    std::size_t Remaining() const { return m_bytes.size() - m_at; }

    template <ArchiveValue T>
    CArchive& operator<<(T value) {
        std::array<unsigned char, sizeof(T)> raw;
        storeLe(raw.data(), value);
        Write(raw);
        return *this;
    }

    template <ArchiveValue T>
    CArchive& operator>>(T& value) {
        std::array<unsigned char, sizeof(T)> raw;
        if (Read(raw)) value = loadLe<T>(raw.data());
        return *this;
    }

    // Bytes alone, without their number.
    template <std::size_t Size>
    CArchive& operator<<(const std::array<unsigned char, Size>& bytes) {
        Write(bytes);
        return *this;
    }

    template <std::size_t Size>
    CArchive& operator>>(std::array<unsigned char, Size>& bytes) {
        Read(bytes);
        return *this;
    }

    // Text that is not well-formed loads with U+FFFD in the place of what is wrong.
    CArchive& operator<<(const std::wstring& text);
    CArchive& operator>>(std::wstring& text);

    // Stores value or loads it, by the direction of the archive.
    template <typename T>
    void Exchange(T& value) {
        if (IsStoring()) {
            *this << value;
        } else {
            *this >> value;
        }
    }

    // The same with each of several.
    template <typename... T>
    void Exchange(std::tuple<T&...> values) {
        std::apply([this](T&... each) { (Exchange(each), ...); }, values);
    }

    void Write(ByteSpan bytes);
    // Fills bytes whole; false, and bytes unchanged, when there are fewer left.
    bool Read(std::span<unsigned char> bytes);

    // The number of elements of an array. A loaded one is a promise: loop by it, but set no memory aside.
    void WriteCount(std::uint32_t count);
    std::uint32_t ReadCount();

    // Stores an object by pointer. It must stay until the archive is gone, since the archive knows it again by
    // its address.
    void WriteObject(CObject* pObject);

    // Loads an object by pointer, of the class wanted or one derived from it; a null class stands for any. A
    // new object is the caller's; it must stay until the archive is gone, since the same pointer is returned
    // where the object was stored again. Null when the null object was stored and when the load fails.
    CObject* ReadObject(const CRuntimeClass* pWanted);

    // The same for callers that must be the only owner: an object that was loaded before is a failure.
    std::unique_ptr<CObject> ReadOwned(const CRuntimeClass* pWanted);

private:
    struct Tag {
        enum Kind { kNewClass, kClass, kObject } kind;

        std::uint32_t index;
        std::size_t offset;
    };

    // What a number stands for: a class, or an object with its class.
    struct Numbered {
        const CRuntimeClass* type;
        CObject* object;
    };

    CArchive(std::vector<unsigned char>* stored, ByteSpan bytes) : m_stored(stored), m_bytes(bytes) {}

    bool take(std::uint64_t size, ByteSpan& taken);
    void fail(ArchiveFault fault, std::size_t offset, std::string what);

    template <ArchiveValue T>
    T loaded() {
        T value{};
        *this >> value;
        return value;
    }

    void storeTag(bool isClass, std::uint32_t index);
    void storeClass(const CRuntimeClass& type);
    void serialize(CObject& object, std::size_t offset);
    std::uint64_t loadTextLength(bool& wide);
    Tag loadTag();
    const CRuntimeClass* loadNewClass(std::size_t offset);
    const CRuntimeClass* loadClass(const Tag& tag, const CRuntimeClass* pWanted);
    const Numbered* find(const Tag& tag);
    bool isWanted(const CRuntimeClass& type, const Tag& tag, const CRuntimeClass* pWanted);
    std::unique_ptr<CObject> create(const Tag& tag, const CRuntimeClass* pWanted);

    std::vector<unsigned char>* m_stored;  // null while loading
    ByteSpan m_bytes;                      // to load from
    std::size_t m_at = 0;                  // in m_bytes
    int m_depth = 0;
    std::unordered_map<const void*, std::uint32_t> m_numbers;  // storing: of classes and objects
    std::vector<Numbered> m_numbered = {{nullptr, nullptr}};   // loading: by number
    ArchiveError m_error;
};

inline CArchive& operator<<(CArchive& archive, CObject* pObject) {
    archive.WriteObject(pObject);
    return archive;
}

}  // namespace vkcomm::base
