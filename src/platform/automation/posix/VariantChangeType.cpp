// The automation conversions between types of value.
//
// A value is first read as a Source, which forgets how wide it was stored, and then written as the wanted
// type, with the check that it fits.
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <variant>

#include "platform/automation/Rounding.h"
#include "platform/automation/VariantLayout.h"
#include "platform/automation/posix/DateText.h"
#include "platform/automation/posix/Dereference.h"
#include "platform/automation/posix/Guard.h"
#include "platform/automation/posix/Locale.h"
#include "platform/automation/posix/NumberText.h"

using namespace automation;

namespace {

// A number of ten-thousandths, exact: a double has too few digits for the larger ones.
struct Currency
{
    std::int64_t parts;
};
constexpr int currencyDigits = 4;
constexpr std::int64_t currencyScale = 10000;

// Reals are told from dates and from single precision by the VARIANT's type where it matters.
using Source = std::variant<bool, std::int64_t, std::uint64_t, double, Currency, std::u16string_view>;

// The text, where it is one, belongs to `value`.
HRESULT read(const VARIANT& value, Source& source)
{
    switch (value.vt) {
    case VT_EMPTY:
        source = std::int64_t{0};
        return S_OK;
    case VT_BOOL:
        source = value.boolVal != VARIANT_FALSE;
        return S_OK;
    case VT_I1:
        source = std::int64_t{value.cVal};
        return S_OK;
    case VT_I2:
        source = std::int64_t{value.iVal};
        return S_OK;
    case VT_I4:
    case VT_INT:
        source = std::int64_t{value.lVal};
        return S_OK;
    case VT_I8:
        source = std::int64_t{value.llVal};
        return S_OK;
    case VT_UI1:
        source = std::uint64_t{value.bVal};
        return S_OK;
    case VT_UI2:
        source = std::uint64_t{value.uiVal};
        return S_OK;
    case VT_UI4:
    case VT_UINT:
        source = std::uint64_t{value.ulVal};
        return S_OK;
    case VT_UI8:
        source = std::uint64_t{value.ullVal};
        return S_OK;
    case VT_R4:
        source = double{value.fltVal};
        return S_OK;
    case VT_R8:
    case VT_DATE:
        source = value.dblVal;
        return S_OK;
    case VT_CY:
        source = Currency{value.cyVal.int64};
        return S_OK;
    case VT_BSTR:
        source = value.bstrVal ? std::u16string_view(value.bstrVal, SysStringLen(value.bstrVal))
                               : std::u16string_view{};
        return S_OK;
    default:
        return DISP_E_TYPEMISMATCH;
    }
}

bool equalsIgnoringCase(std::u16string_view text, std::u16string_view lower) noexcept
{
    if (text.size() != lower.size())
        return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] != lower[i] && !(text[i] >= u'A' && text[i] <= u'Z' && (text[i] | 0x20) == lower[i]))
            return false;
    return true;
}

HRESULT toReal(const Source& source, const Locale& locale, double& real)
{
    if (const auto* truth = std::get_if<bool>(&source))
        real = *truth ? -1 : 0;
    else if (const auto* number = std::get_if<std::int64_t>(&source))
        real = static_cast<double>(*number);
    else if (const auto* natural = std::get_if<std::uint64_t>(&source))
        real = static_cast<double>(*natural);
    else if (const auto* given = std::get_if<double>(&source))
        real = *given;
    else if (const auto* currency = std::get_if<Currency>(&source))
        real = static_cast<double>(currency->parts) / currencyScale;
    else {
        WrittenNumber written;
        const HRESULT result = parseNumber(std::get<std::u16string_view>(source), locale, written);
        return FAILED(result) ? result : automation::toReal(written, real);
    }
    return S_OK;
}

template <class Integer> HRESULT realToInteger(double real, Integer& integer)
{
    const double rounded = roundHalfEven(real);
    // One above the greatest value is exact where the greatest value itself is not; what is not a number
    // fails too.
    const double above = std::ldexp(1.0, std::numeric_limits<Integer>::digits);
    if (!(rounded >= static_cast<double>(std::numeric_limits<Integer>::min()) && rounded < above))
        return DISP_E_OVERFLOW;
    integer = static_cast<Integer>(rounded);
    return S_OK;
}

std::int64_t wholeUnits(Currency currency) noexcept
{
    const std::int64_t whole = currency.parts / currencyScale;
    const std::int64_t rest = std::abs(currency.parts % currencyScale);
    const bool away = rest * 2 > currencyScale || (rest * 2 == currencyScale && whole % 2 != 0);
    return whole + (away ? (currency.parts < 0 ? -1 : 1) : 0);
}

// The nearest integer to what is written, which is not bits.
template <class Integer> HRESULT wholeToInteger(const WrittenNumber& written, Integer& integer)
{
    Whole whole{};
    if (const HRESULT result = automation::toWhole(written, whole); FAILED(result))
        return result;
    // The magnitude of the least value is one more than that of the greatest.
    constexpr auto greatest = static_cast<std::uint64_t>(std::numeric_limits<Integer>::max());
    constexpr std::uint64_t least = std::numeric_limits<Integer>::is_signed ? greatest + 1 : 0;
    if (whole.magnitude > (whole.negative ? least : greatest))
        return DISP_E_OVERFLOW;
    integer = static_cast<Integer>(whole.negative ? 0 - whole.magnitude : whole.magnitude);
    return S_OK;
}

template <class Integer>
HRESULT textToInteger(std::u16string_view text, const Locale& locale, Integer& integer)
{
    using Pattern = std::make_unsigned_t<Integer>;
    WrittenNumber written;
    if (const HRESULT result = parseNumber(text, locale, written); FAILED(result))
        return result;
    if (written.isBits) { // &HFFFF is -1 in 16 bits and 65535 in 32
        integer = static_cast<Integer>(static_cast<Pattern>(written.bits));
        return std::in_range<Pattern>(written.bits) ? S_OK : DISP_E_OVERFLOW;
    }
    return wholeToInteger(written, integer);
}

template <class Integer> HRESULT toInteger(const Source& source, const Locale& locale, Integer& integer)
{
    if (const auto* truth = std::get_if<bool>(&source)) {
        integer = static_cast<Integer>(*truth ? -1 : 0); // all bits set in the unsigned types as well
        return S_OK;
    }
    if (const auto* real = std::get_if<double>(&source))
        return realToInteger(*real, integer);
    if (const auto* text = std::get_if<std::u16string_view>(&source))
        return textToInteger(*text, locale, integer);
    const auto store = [&](auto number) {
        integer = static_cast<Integer>(number);
        return std::in_range<Integer>(number) ? S_OK : DISP_E_OVERFLOW;
    };
    if (const auto* currency = std::get_if<Currency>(&source))
        return store(wholeUnits(*currency));
    const auto* number = std::get_if<std::int64_t>(&source);
    return number ? store(*number) : store(std::get<std::uint64_t>(source));
}

HRESULT toSingle(const Source& source, const Locale& locale, float& single)
{
    double real = 0;
    if (const HRESULT result = toReal(source, locale, real); FAILED(result))
        return result;
    if (std::isfinite(real) && std::abs(real) > double{std::numeric_limits<float>::max()})
        return DISP_E_OVERFLOW;
    single = static_cast<float>(real);
    return S_OK;
}

HRESULT toCurrency(const Source& source, const Locale& locale, CY& currency)
{
    const auto scale = [&](auto number) {
        return __builtin_mul_overflow(number, currencyScale, &currency.int64) ? DISP_E_OVERFLOW : S_OK;
    };
    if (const auto* truth = std::get_if<bool>(&source))
        return scale(*truth ? -1 : 0);
    if (const auto* number = std::get_if<std::int64_t>(&source))
        return scale(*number);
    if (const auto* natural = std::get_if<std::uint64_t>(&source))
        return scale(*natural);
    if (const auto* real = std::get_if<double>(&source))
        return realToInteger(*real * currencyScale, currency.int64);
    WrittenNumber written;
    if (const HRESULT result = parseNumber(std::get<std::u16string_view>(source), locale, written);
        FAILED(result))
        return result;
    if (written.isBits)
        return scale(written.bits);
    written.exponent += currencyDigits;
    return wholeToInteger(written, currency.int64);
}

HRESULT toDate(const Source& source, const Locale& locale, DATE& date)
{
    // The date goes first: "1.2.2024" is a number too where points group the digits.
    const auto* text = std::get_if<std::u16string_view>(&source);
    if (text && parseDate(*text, locale, date))
        return S_OK;
    if (const HRESULT result = toReal(source, locale, date); FAILED(result))
        return result;
    return isDate(date) ? S_OK : DISP_E_OVERFLOW;
}

HRESULT toBoolean(const Source& source, const Locale& locale, VARIANT_BOOL& boolean)
{
    if (const auto* text = std::get_if<std::u16string_view>(&source))
        for (const auto& [word, value] :
             {std::pair{u"true", VARIANT_TRUE}, std::pair{u"#true#", VARIANT_TRUE},
              std::pair{u"false", VARIANT_FALSE}, std::pair{u"#false#", VARIANT_FALSE}})
            if (equalsIgnoringCase(*text, word)) {
                boolean = value;
                return S_OK;
            }
    double real = 0;
    const HRESULT result = toReal(source, locale, real);
    boolean = real != 0 ? VARIANT_TRUE : VARIANT_FALSE;
    return result;
}

template <class Integer> std::u16string decimal(Integer number)
{
    char buffer[24];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, number);
    return std::u16string(buffer, end);
}

std::u16string formatCurrency(Currency currency, const Locale& locale)
{
    const auto bits = static_cast<std::uint64_t>(currency.parts);
    const std::uint64_t magnitude = currency.parts < 0 ? 0 - bits : bits;
    std::u16string text = (currency.parts < 0 ? u"-" : u"") + decimal(magnitude / currencyScale);
    if (const std::uint64_t rest = magnitude % currencyScale) {
        const std::u16string digits = decimal(currencyScale + rest); // the 1 in front keeps its zeros
        text += locale.decimal + digits.substr(1, digits.find_last_not_of(u'0'));
    }
    return text;
}

HRESULT toText(const Source& source, VARTYPE sourceType, const Locale& locale, USHORT flags,
               std::u16string& text)
{
    if (sourceType == VT_EMPTY)
        return S_OK;
    if (const auto* truth = std::get_if<bool>(&source)) {
        if (flags & VARIANT_ALPHABOOL)
            text = *truth ? u"True" : u"False";
        else
            text = *truth ? u"-1" : u"0";
    } else if (const auto* number = std::get_if<std::int64_t>(&source)) {
        text = decimal(*number);
    } else if (const auto* natural = std::get_if<std::uint64_t>(&source)) {
        text = decimal(*natural);
    } else if (const auto* currency = std::get_if<Currency>(&source)) {
        text = formatCurrency(*currency, locale);
    } else if (const auto* real = std::get_if<double>(&source)) {
        if (sourceType == VT_DATE && !isDate(*real))
            return DISP_E_OVERFLOW;
        constexpr int singleDigits = 7, doubleDigits = 15;
        text = sourceType == VT_DATE
                   ? formatDate(*real, locale)
                   : formatReal(*real, sourceType == VT_R4 ? singleDigits : doubleDigits, locale);
    }
    return S_OK;
}

HRESULT toBstr(const Source& source, VARTYPE sourceType, const Locale& locale, USHORT flags, BSTR& text)
{
    std::u16string written;
    if (const HRESULT result = toText(source, sourceType, locale, flags, written); FAILED(result))
        return result;
    text = SysAllocStringLen(written.data(), static_cast<UINT>(written.size()));
    return text ? S_OK : E_OUTOFMEMORY;
}

// Writes the value into `result`, whose own type is left to the caller.
HRESULT convert(const VARIANT& value, const Locale& locale, USHORT flags, VARTYPE type, VARIANT& result)
{
    Source source;
    if (const HRESULT readable = read(value, source); FAILED(readable))
        return readable;
    switch (type) {
    case VT_I1:
        return toInteger(source, locale, result.cVal);
    case VT_I2:
        return toInteger(source, locale, result.iVal);
    case VT_I4:
    case VT_INT:
        return toInteger(source, locale, result.lVal);
    case VT_I8:
        return toInteger(source, locale, result.llVal);
    case VT_UI1:
        return toInteger(source, locale, result.bVal);
    case VT_UI2:
        return toInteger(source, locale, result.uiVal);
    case VT_UI4:
    case VT_UINT:
        return toInteger(source, locale, result.ulVal);
    case VT_UI8:
        return toInteger(source, locale, result.ullVal);
    case VT_R4:
        return toSingle(source, locale, result.fltVal);
    case VT_R8:
        return toReal(source, locale, result.dblVal);
    case VT_CY:
        return toCurrency(source, locale, result.cyVal);
    case VT_DATE:
        return toDate(source, locale, result.date);
    case VT_BOOL:
        return toBoolean(source, locale, result.boolVal);
    case VT_BSTR:
        return toBstr(source, value.vt, locale, flags, result.bstrVal);
    default:
        return DISP_E_TYPEMISMATCH;
    }
}

bool isObject(VARTYPE type) noexcept
{
    return type == VT_DISPATCH || type == VT_UNKNOWN;
}

HRESULT queryObject(const VARIANT& value, VARTYPE type, VARIANT& result)
{
    if (!value.punkVal)
        return S_OK; // null stays null
    void* object = nullptr;
    if (FAILED(value.punkVal->QueryInterface(type == VT_DISPATCH ? IID_IDispatch : IID_IUnknown, &object)))
        return DISP_E_TYPEMISMATCH;
    result.punkVal = static_cast<IUnknown*>(object);
    return S_OK;
}

// The caller clears `property`.
HRESULT defaultProperty(IDispatch* object, VARIANT& property)
{
    DISPPARAMS none{};
    if (!object || FAILED(object->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                                         &none, &property, nullptr, nullptr)))
        return DISP_E_TYPEMISMATCH;
    return S_OK;
}

HRESULT change(const VARIANT& value, USHORT flags, VARTYPE type, VARIANT& result)
{
    if (value.vt == type)
        return VariantCopy(&result, &value);
    if (isObject(value.vt) && isObject(type))
        return queryObject(value, type, result);
    if (value.vt == VT_DISPATCH && !(flags & VARIANT_NOVALUEPROP)) {
        VARIANT property;
        VariantInit(&property);
        HRESULT outcome = defaultProperty(value.pdispVal, property);
        // Only one level: an object whose default property is an object again has no value.
        if (SUCCEEDED(outcome))
            outcome = change(property, flags | VARIANT_NOVALUEPROP, type, result);
        VariantClear(&property);
        return outcome;
    }
    return guarded([&] { return convert(value, userLocale(), flags, type, result); });
}

} // namespace

HRESULT VariantChangeType(VARIANTARG* destination, const VARIANTARG* source, USHORT flags, VARTYPE type)
{
    if (!destination || !source)
        return E_INVALIDARG;
    if (type != VT_EMPTY && type != VT_NULL && type != VT_DECIMAL && bytesOf(type) == 0)
        return DISP_E_BADVARTYPE;
    VARIANT value;
    if (const HRESULT result = dereference(*source, value); FAILED(result))
        return result;
    // The destination may be the source, or keep it alive: it goes last, and stays as it is when this fails.
    VARIANT result;
    VariantInit(&result);
    if (const HRESULT outcome = change(value, flags, type, result); FAILED(outcome))
        return outcome;
    result.vt = type;
    const HRESULT outcome = VariantClear(destination);
    if (SUCCEEDED(outcome))
        *destination = result;
    else
        VariantClear(&result);
    return outcome;
}
