// Any bytes, taken as fields of the settings records and as archives of them.
//
// Laws: a record with any values comes back from its archive; what loads is stored, loaded and stored to the same
// bytes; a load that fails changes nothing; loading takes no more memory than a small multiple of the input.
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <vector>

#include "fuzz/parser_laws.h"
#include "tests/base/archive_bytes.h"
#include "tests/settings/config_records.h"
#include "vkcomm/base/object_array.h"
#include "vkcomm/util/unicode_text.h"

namespace {

std::size_t allocated = 0;  // bytes asked for so far

}  // namespace

// Not inlined: GCC would take the pairs for mismatched ones.
[[gnu::noinline]] void* operator new(std::size_t size) {
    allocated += size;
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size);
}

[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace vkcomm::fuzz {
namespace {

using base::CArchive;
using test::Bytes;
using test::fieldsOf;

constexpr std::size_t kMostPerByte = 64, kMostBeside = 8192;

template <typename Load>
void requireFrugal(ByteSpan input, Load load) {
    const std::size_t before = allocated;
    load();
    require(allocated - before <= input.size() * kMostPerByte + kMostBeside);
}

template <typename T>
void set(T& value, ByteSpan& input) {
    unsigned char raw[sizeof(T)] = {};
    const ByteSpan taken = take(input, sizeof(T));
    std::copy(taken.begin(), taken.end(), raw);
    value = loadLe<T>(raw);
}

template <typename T, std::size_t Size>
void set(std::array<T, Size>& values, ByteSpan& input) {
    for (T& value : values)
        set(value, input);
}

void set(std::wstring& text, ByteSpan& input) {
    const ByteSpan units = take(input, takeByte(input) * std::size_t{2});
    text = toWide(utf16Units(units, std::endian::big));
}

template <typename T>
bool same(const T& left, const T& right) {
    return left == right;
}

bool same(float left, float right) {
    return std::bit_cast<std::uint32_t>(left) == std::bit_cast<std::uint32_t>(right);
}

bool same(const std::array<float, 3>& left, const std::array<float, 3>& right) {
    return same(left[0], right[0]) && same(left[1], right[1]) && same(left[2], right[2]);
}

template <typename... Fields>
bool allSame(std::tuple<Fields&...> left, std::tuple<Fields&...> right) {
    const auto each = [&]<std::size_t... I>(std::index_sequence<I...>) {
        return (same(std::get<I>(left), std::get<I>(right)) && ...);
    };
    return each(std::index_sequence_for<Fields...>());
}

template <typename Stored>
Bytes bytesOf(Stored& stored) {
    return test::stored([&](CArchive& archive) { stored.Serialize(archive); });
}

// The record comes back, and stays what it is when the input fails to load into it.
template <typename Record>
void requireRecordLaws(ByteSpan input) {
    Record record, back;
    ByteSpan values = input;
    std::apply([&](auto&... field) { (set(field, values), ...); }, fieldsOf(record));
    const Bytes bytes = bytesOf(record);
    CArchive archive = CArchive::LoadFrom(bytes);
    back.Serialize(archive);
    require(!archive.Error() && archive.Remaining() == 0);
    require(allSame(fieldsOf(back), fieldsOf(record)));

    CArchive hostile = CArchive::LoadFrom(input);
    requireFrugal(input, [&] { record.Serialize(hostile); });
    if (hostile.Error()) {
        require(allSame(fieldsOf(back), fieldsOf(record)));
    } else {
        const Bytes again = bytesOf(record);
        CArchive second = CArchive::LoadFrom(again);
        back.Serialize(second);
        require(allSame(fieldsOf(back), fieldsOf(record)));
    }
}

// Objects by pointer until the input ends or fails, null and repeated ones among them.
struct Objects {
    std::vector<base::CObject*> inOrder;
    std::map<base::CObject*, std::unique_ptr<base::CObject>> owned;

    explicit Objects(CArchive& archive) {
        while (!archive.Error() && archive.Remaining() > 0) {
            base::CObject* const object = archive.ReadObject(nullptr);
            inOrder.push_back(object);
            if (!owned.contains(object)) owned[object].reset(object);
        }
    }

    void Serialize(CArchive& archive) {
        for (base::CObject* object : inOrder)
            archive << object;
    }
};

void requireObjectLaws(ByteSpan input) {
    CArchive archive = CArchive::LoadFrom(input);
    std::unique_ptr<Objects> first;
    requireFrugal(input, [&] { first = std::make_unique<Objects>(archive); });
    const Bytes bytes = bytesOf(*first);
    CArchive second = CArchive::LoadFrom(bytes);
    Objects back(second);
    require(!second.Error() && bytesOf(back) == bytes);
}

void requireArrayLaws(ByteSpan input) {
    base::CMyObArray array;
    array.Add(new CRoverConfigJavad);
    const Bytes before = bytesOf(array);
    CArchive archive = CArchive::LoadFrom(input);
    requireFrugal(input, [&] { array.Serialize(archive); });
    const Bytes bytes = bytesOf(array);
    require(!archive.Error() || bytes == before);
    CArchive second = CArchive::LoadFrom(bytes);
    array.Serialize(second);
    require(!second.Error() && bytesOf(array) == bytes);
}

}  // namespace
}  // namespace vkcomm::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vkcomm;
    const ByteSpan input(data, size);
    fuzz::requireRecordLaws<CAntType>(input);
    fuzz::requireRecordLaws<CBaseConfig>(input);
    fuzz::requireRecordLaws<CBaseConfigJavad>(input);
    fuzz::requireRecordLaws<CRoverConfig>(input);
    fuzz::requireRecordLaws<CRoverConfigJavad>(input);
    fuzz::requireRecordLaws<CBTInformation>(input);
    fuzz::requireObjectLaws(input);
    fuzz::requireArrayLaws(input);
    return 0;
}
