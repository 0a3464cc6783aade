// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The variant value type of simple properties.
 *
 * A variant holds nothing (the null variant), one scalar, or an array of
 * elements of one element type, told by a 16-bit type code:
 *
 * | code   | element type            | code   | element type                 |
 * |--------|-------------------------|--------|------------------------------|
 * | 0x0000 | null                    | 0x000A | float                        |
 * | 0x0001 | int8_t                  | 0x000B | double                       |
 * | 0x0002 | uint8_t                 | 0x4003 | bool                         |
 * | 0x0003 | int16_t                 | 0x800A | std::complex<float>          |
 * | 0x0004 | uint16_t                | 0x800B | std::complex<double>         |
 * | 0x0006 | int32_t                 | 0xC003 | complex of bool (no values)  |
 * | 0x0007 | uint32_t                | 0x0010 | std::string (UTF-8)          |
 * | 0x0008 | int64_t                 | 0x0020 | custom object                |
 * | 0x0009 | uint64_t                | 0x0030 | duration (nanoseconds)       |
 * |        |                         | 0x0040 | time point (system clock, ns)|
 *
 * A code is numeric exactly when its low four bits are non-zero (bool and the
 * complex kinds included). Scalars of up to 16 bytes live in an inline buffer;
 * strings, arrays and custom objects live on the heap.
 *
 * Conversion rules (`convert`):
 * - numeric kinds and bool convert to each other: bool is 0 or 1, any
 *   non-zero number is true, reals truncate toward zero when they become
 *   integers, a complex value with a non-zero imaginary part has no real
 *   counterpart. With flag bit 1 set a value out of the target's range fails;
 *   with it clear the value saturates.
 * - a number becomes text as the shortest decimal text that reads back to the
 *   same value ("2.5", "1e+20"); bool becomes "true" or "false"; a complex
 *   value becomes "(re,im)".
 * - text becomes a number only when the whole text is a decimal number
 *   ("12", "-1.5e3"; not " 12", "12x", "abc", "inf"); "true" and "false" also
 *   convert to bool.
 * - the other kinds convert only to their own code.
 * A failed conversion yields the null variant. Arrays convert element-wise
 * and keep their dimensions.
 * @ingroup property_tree
 */
#pragma once

#include <orrery/orrery_export.h>

#include <chrono>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace Tolmarsk {
namespace Qel {

/// @addtogroup property_tree
/// @{

/// @brief The element type codes.
namespace TypeCode {
/// @addtogroup property_tree
/// @{
constexpr std::uint16_t Null = 0x0000;           ///< the null variant: no value
constexpr std::uint16_t Int8 = 0x0001;           ///< std::int8_t
constexpr std::uint16_t UInt8 = 0x0002;          ///< std::uint8_t
constexpr std::uint16_t Int16 = 0x0003;          ///< std::int16_t
constexpr std::uint16_t UInt16 = 0x0004;         ///< std::uint16_t
constexpr std::uint16_t Int32 = 0x0006;          ///< std::int32_t
constexpr std::uint16_t UInt32 = 0x0007;         ///< std::uint32_t
constexpr std::uint16_t Int64 = 0x0008;          ///< std::int64_t
constexpr std::uint16_t UInt64 = 0x0009;         ///< std::uint64_t
constexpr std::uint16_t Float = 0x000A;          ///< float
constexpr std::uint16_t Double = 0x000B;         ///< double
constexpr std::uint16_t Bool = 0x4003;           ///< bool
constexpr std::uint16_t ComplexFloat = 0x800A;   ///< std::complex<float>
constexpr std::uint16_t ComplexDouble = 0x800B;  ///< std::complex<double>
constexpr std::uint16_t ComplexBool = 0xC003;    ///< complex of bool; a code only, never held
constexpr std::uint16_t String = 0x0010;         ///< std::string holding UTF-8
constexpr std::uint16_t Custom = 0x0020;     ///< a custom object (KVariantGeneric::fromCustom())
constexpr std::uint16_t Duration = 0x0030;   ///< Duration (nanoseconds)
constexpr std::uint16_t TimePoint = 0x0040;  ///< TimePoint (system clock, nanoseconds)
/// @}
}  // namespace TypeCode

/// @brief Whether @p code is a numeric element type (low four bits non-zero). Never fails.
constexpr bool isNumericTypeCode(std::uint16_t code) {
    return (code & 0x000F) != 0;
}

/// @brief The duration element type.
using Duration = std::chrono::nanoseconds;
/// @brief The time point element type.
using TimePoint = std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds>;

/**
 * @brief The type code of an element type, as `value`.
 *
 * Specialised for every element type a variant can hold (the fixed-width integers,
 * float, double, bool, std::complex of float and of double, std::string, Duration and
 * TimePoint); `value` is TypeCode::Null for every other type.
 */
template <class T>
struct TypeCodeOf : std::integral_constant<std::uint16_t, TypeCode::Null> {};
/// @cond
#define QEL_TYPE_CODE(T, C) \
    template <>             \
    struct TypeCodeOf<T> : std::integral_constant<std::uint16_t, C> {}
QEL_TYPE_CODE(std::int8_t, TypeCode::Int8);
QEL_TYPE_CODE(std::uint8_t, TypeCode::UInt8);
QEL_TYPE_CODE(std::int16_t, TypeCode::Int16);
QEL_TYPE_CODE(std::uint16_t, TypeCode::UInt16);
QEL_TYPE_CODE(std::int32_t, TypeCode::Int32);
QEL_TYPE_CODE(std::uint32_t, TypeCode::UInt32);
QEL_TYPE_CODE(std::int64_t, TypeCode::Int64);
QEL_TYPE_CODE(std::uint64_t, TypeCode::UInt64);
QEL_TYPE_CODE(float, TypeCode::Float);
QEL_TYPE_CODE(double, TypeCode::Double);
QEL_TYPE_CODE(bool, TypeCode::Bool);
QEL_TYPE_CODE(std::complex<float>, TypeCode::ComplexFloat);
QEL_TYPE_CODE(std::complex<double>, TypeCode::ComplexDouble);
QEL_TYPE_CODE(std::string, TypeCode::String);
QEL_TYPE_CODE(Duration, TypeCode::Duration);
QEL_TYPE_CODE(TimePoint, TypeCode::TimePoint);
#undef QEL_TYPE_CODE
/// @endcond

namespace Internal {

/// @brief The compiler's spelling of T, extracted at compile time from the function signature.
template <class T>
constexpr std::string_view rawTypeName() {
#if defined(_MSC_VER)
    constexpr std::string_view sig = __FUNCSIG__;
    constexpr std::string_view open = "rawTypeName<";
    constexpr std::string_view close = ">(void)";
    const std::size_t begin = sig.find(open) + open.size();
    return sig.substr(begin, sig.rfind(close) - begin);
#else
    constexpr std::string_view sig = __PRETTY_FUNCTION__;
    constexpr std::string_view open = "T = ";
    const std::size_t begin = sig.find(open) + open.size();
    std::size_t end = sig.find(';', begin);
    if (end == std::string_view::npos) {
        end = sig.rfind(']');
    }
    return sig.substr(begin, end - begin);
#endif
}

/**
 * @brief Cleans a compiler type spelling: a leading "class " or "struct " is
 *        removed, "::__1::" becomes "::" and a trailing "::__1" is removed.
 */
ORRERY_EXPORT std::string cleanTypeName(std::string_view raw);

/// @brief Base of the holders of custom objects.
class ORRERY_EXPORT CustomValue {
public:
    virtual ~CustomValue();
    virtual std::unique_ptr<CustomValue> clone() const = 0;
    virtual const std::type_info& type() const = 0;
    virtual std::string typeName() const = 0;
    virtual const void* object() const = 0;
};

class KVariantDirectStorage;

}  // namespace Internal

/**
 * @brief The name used for T in conversion messages.
 *
 * The fixed-width integer types and std::string read "int8_t" ... "uint64_t"
 * and "std::string"; every other type is the compiler's spelling, cleaned by
 * Internal::cleanTypeName ("int", "double", "bool", "std::complex<float>").
 * Never fails.
 */
template <class T>
std::string typeName() {
    if constexpr (std::is_same_v<T, std::int8_t>) {
        return "int8_t";
    } else if constexpr (std::is_same_v<T, std::uint8_t>) {
        return "uint8_t";
    } else if constexpr (std::is_same_v<T, std::int16_t>) {
        return "int16_t";
    } else if constexpr (std::is_same_v<T, std::uint16_t>) {
        return "uint16_t";
    } else if constexpr (std::is_same_v<T, std::int64_t>) {
        return "int64_t";
    } else if constexpr (std::is_same_v<T, std::uint64_t>) {
        return "uint64_t";
    } else if constexpr (std::is_same_v<T, std::string>) {
        return "std::string";
    } else {
        return Internal::cleanTypeName(Internal::rawTypeName<T>());
    }
}

/**
 * @brief The name of an element type code as typeName() gives it.
 * @throws std::runtime_error "unknown type" for a code that is neither
 *         numeric nor one of the string, custom, duration and time point kinds
 *         (the custom kind reads "custom" here; a variant names its own object).
 */
ORRERY_EXPORT std::string typeNameOfCode(std::uint16_t code);

namespace Internal {

template <class T>
class CustomHolder final : public CustomValue {
public:
    explicit CustomHolder(T value) : value_(std::move(value)) {}
    std::unique_ptr<CustomValue> clone() const override {
        return std::make_unique<CustomHolder<T>>(value_);
    }
    const std::type_info& type() const override { return typeid(T); }
    std::string typeName() const override { return Qel::typeName<T>(); }
    const void* object() const override { return &value_; }

private:
    T value_;
};

/**
 * @brief The storage of a variant: type code, dimensions and elements.
 *
 * Scalars of up to 16 bytes are kept inline; other contents on the heap.
 */
class ORRERY_EXPORT KVariantDirectStorage {
public:
    KVariantDirectStorage() noexcept;
    KVariantDirectStorage(const KVariantDirectStorage& other);
    KVariantDirectStorage(KVariantDirectStorage&& other) noexcept;
    KVariantDirectStorage& operator=(const KVariantDirectStorage& other);
    KVariantDirectStorage& operator=(KVariantDirectStorage&& other) noexcept;
    ~KVariantDirectStorage();

    /**
     * @brief Replaces the contents by @p count elements of type @p code copied from @p source.
     * @throws std::invalid_argument for a code that cannot hold values.
     */
    void assign(std::uint16_t code, const void* source, std::size_t count,
                std::vector<std::uint64_t> dims, bool scalar);
    /// @brief Replaces the contents by a custom object (null @p value: a custom of void).
    void assignCustom(std::unique_ptr<CustomValue> value);
    /// @brief Makes the storage null.
    void reset() noexcept;

    std::uint16_t typeCode() const noexcept { return code_; }
    bool isScalar() const noexcept { return scalar_; }
    std::size_t size() const noexcept { return count_; }
    std::vector<std::uint64_t> dimensions() const;
    /// @brief Pointer to element @p index. @throws std::out_of_range past the end.
    const void* element(std::size_t index) const;
    const std::type_info& typeInfo() const noexcept;
    /// @brief The element type's name; for a custom object the object's type name.
    std::string elementTypeName() const;
    /// @brief See the conversion rules of this header.
    KVariantDirectStorage convert(std::uint16_t code, int flag) const;

    // Heap blocks; defined in the implementation.
    struct Block;
    template <class T>
    struct ArrayBlock;
    struct CustomBlock;

private:
    std::uint16_t code_ = TypeCode::Null;
    bool scalar_ = false;
    bool inline_ = false;
    std::size_t count_ = 0;
    std::vector<std::uint64_t> dims_;
    alignas(16) unsigned char buffer_[16] = {};
    Block* heap_ = nullptr;
};

}  // namespace Internal

/**
 * @brief A variant value over a storage policy.
 */
template <class Storage>
class KVariantGeneric {
public:
    /// @brief The null variant (type code 0). Never fails.
    KVariantGeneric() noexcept = default;

    /// @brief A scalar of one of the supported element types. Never fails (a string is
    ///        copied to the heap; only running out of memory throws).
    template <class T, std::enable_if_t<TypeCodeOf<T>::value != TypeCode::Null, int> = 0>
    explicit KVariantGeneric(const T& scalar) {
        storage_.assign(TypeCodeOf<T>::value, &scalar, 1, {}, true);
    }

    /**
     * @brief An array of @p count elements copied from @p data.
     * @param data the first element; may be null only when @p count is 0
     * @param count the number of elements
     * @param dims the extents; empty means unresolved, reported as {count}.
     * @throws std::invalid_argument when the product of @p dims differs from @p count, or
     *         when @p data is null and @p count is not 0.
     */
    template <class T, std::enable_if_t<TypeCodeOf<T>::value != TypeCode::Null, int> = 0>
    KVariantGeneric(const T* data, std::size_t count, std::vector<std::uint64_t> dims = {}) {
        storage_.assign(TypeCodeOf<T>::value, data, count, std::move(dims), false);
    }

    /// @brief A custom object (type code 0x20) holding a copy of @p object. Never fails
    ///        beyond what copying @p object throws.
    template <class T>
    static KVariantGeneric fromCustom(T object) {
        KVariantGeneric v;
        v.storage_.assignCustom(std::make_unique<Internal::CustomHolder<T>>(std::move(object)));
        return v;
    }
    /// @brief A custom value whose type information is that of void and whose element type
    ///        name is "void". Never fails.
    static KVariantGeneric voidCustom() {
        KVariantGeneric v;
        v.storage_.assignCustom(nullptr);
        return v;
    }

    /// @brief A deep copy: elements and custom objects are copied. Never fails beyond what
    ///        copying a custom object throws.
    KVariantGeneric(const KVariantGeneric&) = default;
    /// @brief Takes over the contents; the source is left null. Never fails.
    KVariantGeneric(KVariantGeneric&&) noexcept = default;
    /// @brief A deep copy: elements and custom objects are copied. Never fails beyond what
    ///        copying a custom object throws; the target is then unchanged.
    KVariantGeneric& operator=(const KVariantGeneric&) = default;
    /// @brief Takes over the contents; the source is left null. Never fails.
    KVariantGeneric& operator=(KVariantGeneric&&) noexcept = default;
    /// @brief Releases the contents. Never fails.
    ~KVariantGeneric() = default;

    /// @brief The element type code; 0 for the null variant. Never fails.
    std::uint16_t typeCode() const noexcept { return storage_.typeCode(); }
    /// @brief Whether this is the null variant. Never fails.
    bool isNull() const noexcept { return storage_.typeCode() == TypeCode::Null; }
    /// @brief Whether the variant holds one scalar (not an array). Never fails.
    bool isScalar() const noexcept { return storage_.isScalar(); }
    /// @brief The extents: {} for null, {1} for a scalar, {count} for unresolved arrays.
    ///        Never fails.
    std::vector<std::uint64_t> dimensions() const { return storage_.dimensions(); }
    /// @brief The number of elements; 0 for the null variant. Never fails.
    std::size_t size() const noexcept { return storage_.size(); }
    /// @brief The type of a custom object; typeid(void) for every other value. Never fails.
    const std::type_info& typeInfo() const noexcept { return storage_.typeInfo(); }
    /// @brief The element type's name as typeName() spells it.
    /// @throws std::runtime_error "unknown type" for the null variant.
    std::string elementTypeName() const { return storage_.elementTypeName(); }

    /**
     * @brief The value converted to @p code by the conversion rules of this header.
     *
     * A conversion to the variant's own code is a copy. When `(flag & 1)` is set, a value
     * outside the target's range fails; otherwise it saturates.
     * @return the converted value; the null variant when any element cannot be converted,
     *         for a code that cannot hold values, and for the null variant itself.
     */
    KVariantGeneric convert(std::uint16_t code, int flag) const {
        KVariantGeneric v;
        v.storage_ = storage_.convert(code, flag);
        return v;
    }

    /**
     * @brief Element @p index as T.
     * @throws std::runtime_error when T is not the element type,
     *         std::out_of_range when @p index is past the end.
     */
    template <class T>
    T get(std::size_t index = 0) const {
        if (storage_.typeCode() != TypeCodeOf<T>::value || TypeCodeOf<T>::value == TypeCode::Null) {
            throw std::runtime_error("KVariant: element type mismatch");
        }
        return *static_cast<const T*>(storage_.element(index));
    }

    /// @brief The custom object as T, or null when the variant is not a custom object of
    ///        type T. Never fails.
    template <class T>
    const T* customObject() const {
        if (storage_.typeCode() != TypeCode::Custom || storage_.typeInfo() != typeid(T)) {
            return nullptr;
        }
        return static_cast<const T*>(storage_.element(0));
    }

private:
    Storage storage_;
};

/// @brief The variant type of simple properties.
using KVariant = KVariantGeneric<Internal::KVariantDirectStorage>;

/// @}

}  // namespace Qel
}  // namespace Tolmarsk
