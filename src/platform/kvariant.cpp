// SPDX-License-Identifier: MIT
// The variant value type: storage, type names and conversions. Standard C++ only.

#include <qel/kvariant.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

namespace Tolmarsk {
namespace Qel {

namespace Internal {

std::string cleanTypeName(std::string_view raw) {
    std::string name(raw);
    for (std::string_view lead : {std::string_view("class "), std::string_view("struct ")}) {
        if (name.compare(0, lead.size(), lead) == 0) {
            name.erase(0, lead.size());
            break;
        }
    }
    for (std::size_t pos = name.find("::__1::"); pos != std::string::npos;
         pos = name.find("::__1::", pos)) {
        name.replace(pos, 7, "::");
    }
    for (std::size_t pos = name.find("::__1"); pos != std::string::npos;
         pos = name.find("::__1", pos)) {
        name.erase(pos, 5);
    }
    return name;
}

CustomValue::~CustomValue() = default;

}  // namespace Internal

std::string typeNameOfCode(std::uint16_t code) {
    switch (code) {
        case TypeCode::Int8:
            return typeName<std::int8_t>();
        case TypeCode::UInt8:
            return typeName<std::uint8_t>();
        case TypeCode::Int16:
            return typeName<std::int16_t>();
        case TypeCode::UInt16:
            return typeName<std::uint16_t>();
        case TypeCode::Int32:
            return typeName<std::int32_t>();
        case TypeCode::UInt32:
            return typeName<std::uint32_t>();
        case TypeCode::Int64:
            return typeName<std::int64_t>();
        case TypeCode::UInt64:
            return typeName<std::uint64_t>();
        case TypeCode::Float:
            return typeName<float>();
        case TypeCode::Double:
            return typeName<double>();
        case TypeCode::Bool:
            return typeName<bool>();
        case TypeCode::ComplexFloat:
            return typeName<std::complex<float>>();
        case TypeCode::ComplexDouble:
            return typeName<std::complex<double>>();
        case TypeCode::ComplexBool:
            return "std::complex<bool>";
        case TypeCode::String:
            return typeName<std::string>();
        case TypeCode::Custom:
            return "custom";
        case TypeCode::Duration:
            return typeName<Duration>();
        case TypeCode::TimePoint:
            return typeName<TimePoint>();
        default:
            break;
    }
    if (isNumericTypeCode(code)) {
        return "numeric type " + std::to_string(code);
    }
    throw std::runtime_error("unknown type");
}

namespace Internal {

namespace {

// Calls f with a value-initialised T for the element type of a code that can hold values.
template <class F>
bool visitCode(std::uint16_t code, F&& f) {
    switch (code) {
        case TypeCode::Int8:
            f(std::int8_t{});
            return true;
        case TypeCode::UInt8:
            f(std::uint8_t{});
            return true;
        case TypeCode::Int16:
            f(std::int16_t{});
            return true;
        case TypeCode::UInt16:
            f(std::uint16_t{});
            return true;
        case TypeCode::Int32:
            f(std::int32_t{});
            return true;
        case TypeCode::UInt32:
            f(std::uint32_t{});
            return true;
        case TypeCode::Int64:
            f(std::int64_t{});
            return true;
        case TypeCode::UInt64:
            f(std::uint64_t{});
            return true;
        case TypeCode::Float:
            f(float{});
            return true;
        case TypeCode::Double:
            f(double{});
            return true;
        case TypeCode::Bool:
            f(bool{});
            return true;
        case TypeCode::ComplexFloat:
            f(std::complex<float>{});
            return true;
        case TypeCode::ComplexDouble:
            f(std::complex<double>{});
            return true;
        case TypeCode::String:
            f(std::string{});
            return true;
        case TypeCode::Duration:
            f(Duration{});
            return true;
        case TypeCode::TimePoint:
            f(TimePoint{});
            return true;
        default:
            return false;
    }
}

template <class T>
constexpr bool fitsInline = sizeof(T) <= 16 && std::is_trivially_copyable_v<T>;

}  // namespace

struct KVariantDirectStorage::Block {
    virtual ~Block() = default;
    virtual Block* clone() const = 0;
    virtual const void* at(std::size_t index) const = 0;
};

// std::vector<bool> has no addressable elements, so bools are kept in plain cells.
struct BoolCell {
    bool value;
};

template <class T>
struct KVariantDirectStorage::ArrayBlock final : Block {
    using Cell = std::conditional_t<std::is_same_v<T, bool>, BoolCell, T>;
    explicit ArrayBlock(std::vector<Cell> v) : values(std::move(v)) {}
    Block* clone() const override { return new ArrayBlock<T>(values); }
    const void* at(std::size_t index) const override {
        if constexpr (std::is_same_v<T, bool>) {
            return &values[index].value;
        } else {
            return &values[index];
        }
    }
    std::vector<Cell> values;
};

struct KVariantDirectStorage::CustomBlock final : Block {
    explicit CustomBlock(std::unique_ptr<CustomValue> v) : value(std::move(v)) {}
    Block* clone() const override {
        return new CustomBlock(value ? value->clone() : std::unique_ptr<CustomValue>());
    }
    const void* at(std::size_t) const override { return value ? value->object() : nullptr; }
    std::unique_ptr<CustomValue> value;
};

namespace {

template <class T>
KVariantDirectStorage::Block* makeArrayBlock(const T* source, std::size_t count);

}  // namespace

KVariantDirectStorage::KVariantDirectStorage() noexcept = default;

KVariantDirectStorage::KVariantDirectStorage(const KVariantDirectStorage& other)
    : code_(other.code_),
      scalar_(other.scalar_),
      inline_(other.inline_),
      count_(other.count_),
      dims_(other.dims_),
      heap_(other.heap_ ? other.heap_->clone() : nullptr) {
    std::memcpy(buffer_, other.buffer_, sizeof buffer_);
}

KVariantDirectStorage::KVariantDirectStorage(KVariantDirectStorage&& other) noexcept
    : code_(other.code_),
      scalar_(other.scalar_),
      inline_(other.inline_),
      count_(other.count_),
      dims_(std::move(other.dims_)),
      heap_(other.heap_) {
    std::memcpy(buffer_, other.buffer_, sizeof buffer_);
    other.heap_ = nullptr;
    other.reset();
}

KVariantDirectStorage& KVariantDirectStorage::operator=(const KVariantDirectStorage& other) {
    if (this != &other) {
        KVariantDirectStorage copy(other);
        *this = std::move(copy);
    }
    return *this;
}

KVariantDirectStorage& KVariantDirectStorage::operator=(KVariantDirectStorage&& other) noexcept {
    if (this != &other) {
        delete heap_;
        code_ = other.code_;
        scalar_ = other.scalar_;
        inline_ = other.inline_;
        count_ = other.count_;
        dims_ = std::move(other.dims_);
        heap_ = other.heap_;
        std::memcpy(buffer_, other.buffer_, sizeof buffer_);
        other.heap_ = nullptr;
        other.reset();
    }
    return *this;
}

KVariantDirectStorage::~KVariantDirectStorage() {
    delete heap_;
}

void KVariantDirectStorage::reset() noexcept {
    delete heap_;
    heap_ = nullptr;
    code_ = TypeCode::Null;
    scalar_ = false;
    inline_ = false;
    count_ = 0;
    dims_.clear();
    std::memset(buffer_, 0, sizeof buffer_);
}

void KVariantDirectStorage::assign(std::uint16_t code, const void* source, std::size_t count,
                                   std::vector<std::uint64_t> dims, bool scalar) {
    if (!dims.empty()) {
        const std::uint64_t product = std::accumulate(dims.begin(), dims.end(), std::uint64_t{1},
                                                      std::multiplies<std::uint64_t>());
        if (product != count) {
            throw std::invalid_argument("KVariant: dimensions do not match the element count");
        }
    }
    if (count > 0 && source == nullptr) {
        throw std::invalid_argument("KVariant: null data");
    }
    KVariantDirectStorage next;
    const bool known = visitCode(code, [&](auto tag) {
        using T = decltype(tag);
        if constexpr (fitsInline<T>) {
            if (scalar) {
                std::memcpy(next.buffer_, source, sizeof(T));
                next.inline_ = true;
                return;
            }
        }
        next.heap_ = makeArrayBlock(static_cast<const T*>(source), count);
    });
    if (!known) {
        throw std::invalid_argument("KVariant: type code cannot hold values");
    }
    next.code_ = code;
    next.scalar_ = scalar;
    next.count_ = scalar ? 1 : count;
    next.dims_ = std::move(dims);
    *this = std::move(next);
}

void KVariantDirectStorage::assignCustom(std::unique_ptr<CustomValue> value) {
    reset();
    heap_ = new CustomBlock(std::move(value));
    code_ = TypeCode::Custom;
    scalar_ = true;
    count_ = 1;
}

std::vector<std::uint64_t> KVariantDirectStorage::dimensions() const {
    if (code_ == TypeCode::Null) {
        return {};
    }
    if (scalar_) {
        return {1};
    }
    if (dims_.empty()) {
        return {count_};
    }
    return dims_;
}

const void* KVariantDirectStorage::element(std::size_t index) const {
    if (index >= count_) {
        throw std::out_of_range("KVariant: element index out of range");
    }
    if (inline_) {
        return buffer_;
    }
    return heap_->at(index);
}

const std::type_info& KVariantDirectStorage::typeInfo() const noexcept {
    if (code_ == TypeCode::Custom) {
        const auto* block = static_cast<const CustomBlock*>(heap_);
        if (block->value) {
            return block->value->type();
        }
    }
    return typeid(void);
}

std::string KVariantDirectStorage::elementTypeName() const {
    if (code_ == TypeCode::Custom) {
        const auto* block = static_cast<const CustomBlock*>(heap_);
        return block->value ? block->value->typeName() : typeName<void>();
    }
    return typeNameOfCode(code_);
}

namespace {

template <class T>
KVariantDirectStorage::Block* makeArrayBlock(const T* source, std::size_t count) {
    using Array = KVariantDirectStorage::ArrayBlock<T>;
    if constexpr (std::is_same_v<T, bool>) {
        std::vector<BoolCell> cells(count);
        for (std::size_t k = 0; k < count; ++k) {
            cells[k].value = source[k];
        }
        return new Array(std::move(cells));
    } else {
        return new Array(std::vector<T>(source, source + count));
    }
}

// A numeric element widened for conversion.
struct Number {
    enum Kind { Signed, Unsigned, Real, Complex } kind = Signed;
    std::int64_t i = 0;
    std::uint64_t u = 0;
    double r = 0.0;
    double im = 0.0;
};

template <class T>
struct IsComplex : std::false_type {};
template <class T>
struct IsComplex<std::complex<T>> : std::true_type {};

template <class T>
Number toNumber(const T& v) {
    Number n;
    if constexpr (std::is_same_v<T, bool>) {
        n.kind = Number::Unsigned;
        n.u = v ? 1 : 0;
    } else if constexpr (IsComplex<T>::value) {
        n.kind = Number::Complex;
        n.r = v.real();
        n.im = v.imag();
    } else if constexpr (std::is_floating_point_v<T>) {
        n.kind = Number::Real;
        n.r = v;
    } else if constexpr (std::is_signed_v<T>) {
        n.kind = Number::Signed;
        n.i = v;
    } else {
        n.kind = Number::Unsigned;
        n.u = v;
    }
    return n;
}

// Converts a real to the integer T: truncation toward zero; out of range fails
// when checked, saturates otherwise.
template <class T>
bool realToInteger(double r, bool checked, T* out) {
    if (std::isnan(r)) {
        return false;
    }
    const double t = std::trunc(r);
    // 2^63 and 2^64 are exact in double; the limits' max() is not.
    const long double lo = static_cast<long double>(std::numeric_limits<T>::min());
    const long double hiExclusive = static_cast<long double>(std::numeric_limits<T>::max()) + 1.0L;
    if (t < lo || t >= hiExclusive) {
        if (checked) {
            return false;
        }
        *out = t < lo ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
        return true;
    }
    *out = static_cast<T>(t);
    return true;
}

template <class T>
bool fromNumber(const Number& n, bool checked, T* out) {
    if (n.kind == Number::Complex && !std::is_same_v<T, bool> && !IsComplex<T>::value &&
        n.im != 0.0) {
        return false;
    }
    if constexpr (std::is_same_v<T, bool>) {
        switch (n.kind) {
            case Number::Signed:
                *out = n.i != 0;
                break;
            case Number::Unsigned:
                *out = n.u != 0;
                break;
            case Number::Real:
                *out = n.r != 0.0;
                break;
            case Number::Complex:
                *out = n.r != 0.0 || n.im != 0.0;
                break;
        }
        return true;
    } else if constexpr (IsComplex<T>::value) {
        using V = typename T::value_type;
        switch (n.kind) {
            case Number::Signed:
                *out = T(static_cast<V>(n.i), 0);
                break;
            case Number::Unsigned:
                *out = T(static_cast<V>(n.u), 0);
                break;
            case Number::Real:
                *out = T(static_cast<V>(n.r), 0);
                break;
            case Number::Complex:
                *out = T(static_cast<V>(n.r), static_cast<V>(n.im));
                break;
        }
        return true;
    } else if constexpr (std::is_floating_point_v<T>) {
        double d = 0.0;
        switch (n.kind) {
            case Number::Signed:
                d = static_cast<double>(n.i);
                break;
            case Number::Unsigned:
                d = static_cast<double>(n.u);
                break;
            case Number::Real:
            case Number::Complex:
                d = n.r;
                break;
        }
        if (std::is_same_v<T, float> && std::isfinite(d) &&
            std::fabs(d) > static_cast<double>(std::numeric_limits<float>::max())) {
            if (checked) {
                return false;
            }
            d = d < 0 ? -static_cast<double>(std::numeric_limits<float>::max())
                      : static_cast<double>(std::numeric_limits<float>::max());
        }
        *out = static_cast<T>(d);
        return true;
    } else {
        switch (n.kind) {
            case Number::Signed:
                if (n.i < 0 && std::is_unsigned_v<T>) {
                    if (checked) {
                        return false;
                    }
                    *out = 0;
                    return true;
                }
                if constexpr (std::is_signed_v<T>) {
                    if (n.i < std::numeric_limits<T>::min() ||
                        n.i > std::numeric_limits<T>::max()) {
                        if (checked) {
                            return false;
                        }
                        *out =
                            n.i < 0 ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
                        return true;
                    }
                } else {
                    if (static_cast<std::uint64_t>(n.i) > std::numeric_limits<T>::max()) {
                        if (checked) {
                            return false;
                        }
                        *out = std::numeric_limits<T>::max();
                        return true;
                    }
                }
                *out = static_cast<T>(n.i);
                return true;
            case Number::Unsigned:
                if (n.u > static_cast<std::uint64_t>(std::numeric_limits<T>::max())) {
                    if (checked) {
                        return false;
                    }
                    *out = std::numeric_limits<T>::max();
                    return true;
                }
                *out = static_cast<T>(n.u);
                return true;
            case Number::Real:
            case Number::Complex:
                return realToInteger(n.r, checked, out);
        }
        return false;
    }
}

template <class F>
std::string shortest(F value) {
    std::array<char, 64> buf{};
    const auto res = std::to_chars(buf.data(), buf.data() + buf.size(), value);
    return std::string(buf.data(), res.ptr);
}

std::string numberToText(const Number& n, bool isBool, bool isFloat) {
    if (isBool) {
        return n.u != 0 ? "true" : "false";
    }
    switch (n.kind) {
        case Number::Signed:
            return shortest(n.i);
        case Number::Unsigned:
            return shortest(n.u);
        case Number::Real:
            return isFloat ? shortest(static_cast<float>(n.r)) : shortest(n.r);
        case Number::Complex:
            if (isFloat) {
                return "(" + shortest(static_cast<float>(n.r)) + "," +
                       shortest(static_cast<float>(n.im)) + ")";
            }
            return "(" + shortest(n.r) + "," + shortest(n.im) + ")";
    }
    return {};
}

// Reads the whole text as a decimal number; no blanks, no trailing text, no inf or nan.
bool textToNumber(const std::string& text, Number* n) {
    if (text.empty()) {
        return false;
    }
    for (char c : text) {
        if (!((c >= '0' && c <= '9') || c == '.' || c == 'e' || c == 'E' || c == '+' || c == '-')) {
            return false;
        }
    }
    const char* first = text.data();
    const char* last = text.data() + text.size();
    std::int64_t i = 0;
    auto ri = std::from_chars(first, last, i);
    if (ri.ec == std::errc() && ri.ptr == last) {
        n->kind = Number::Signed;
        n->i = i;
        return true;
    }
    std::uint64_t u = 0;
    auto ru = std::from_chars(first, last, u);
    if (ru.ec == std::errc() && ru.ptr == last) {
        n->kind = Number::Unsigned;
        n->u = u;
        return true;
    }
    double d = 0.0;
    auto rd = std::from_chars(first, last, d);
    if (rd.ec == std::errc() && rd.ptr == last) {
        n->kind = Number::Real;
        n->r = d;
        return true;
    }
    return false;
}

template <class T>
constexpr bool isNumericElement = std::is_arithmetic_v<T> || IsComplex<T>::value;

// Converts one element of type S into the target T.
template <class S, class T>
bool convertElement(const S& source, bool checked, T* out) {
    if constexpr (std::is_same_v<S, T>) {
        *out = source;
        return true;
    } else if constexpr (isNumericElement<S> && isNumericElement<T>) {
        return fromNumber(toNumber(source), checked, out);
    } else if constexpr (isNumericElement<S> && std::is_same_v<T, std::string>) {
        constexpr bool isFloat = std::is_same_v<S, float> || std::is_same_v<S, std::complex<float>>;
        *out = numberToText(toNumber(source), std::is_same_v<S, bool>, isFloat);
        return true;
    } else if constexpr (std::is_same_v<S, std::string> && isNumericElement<T>) {
        if constexpr (std::is_same_v<T, bool>) {
            if (source == "true" || source == "false") {
                *out = source == "true";
                return true;
            }
        }
        Number n;
        return textToNumber(source, &n) && fromNumber(n, checked, out);
    } else {
        return false;
    }
}

}  // namespace

KVariantDirectStorage KVariantDirectStorage::convert(std::uint16_t code, int flag) const {
    KVariantDirectStorage result;
    if (code_ == TypeCode::Null) {
        return result;
    }
    if (code == code_) {
        return *this;
    }
    const bool checked = (flag & 1) != 0;
    bool ok = false;
    visitCode(code_, [&](auto sourceTag) {
        using S = decltype(sourceTag);
        visitCode(code, [&](auto targetTag) {
            using T = decltype(targetTag);
            std::vector<T> converted;
            converted.reserve(count_);
            for (std::size_t k = 0; k < count_; ++k) {
                T value{};
                if (!convertElement(*static_cast<const S*>(element(k)), checked, &value)) {
                    return;
                }
                converted.push_back(std::move(value));
            }
            if constexpr (std::is_same_v<T, bool>) {
                std::unique_ptr<bool[]> plain(new bool[converted.size() + 1]);
                std::copy(converted.begin(), converted.end(), plain.get());
                result.assign(code, plain.get(), count_, dims_, scalar_);
            } else {
                result.assign(code, converted.data(), count_, dims_, scalar_);
            }
            ok = true;
        });
    });
    if (!ok) {
        result.reset();
    }
    return result;
}

}  // namespace Internal

}  // namespace Qel
}  // namespace Tolmarsk
