#include "platform/ado/AdoFailure.h"

namespace vqloan::ado {

namespace {

const char16_t* describeMisuse(Misuse misuse)
{
    switch (misuse) {
    case Misuse::InvalidArgument:
        return u"Arguments are of the wrong type, are out of acceptable range, or are in conflict with one "
               u"another.";
    case Misuse::NoCurrentRow:
        return u"Either BOF or EOF is True, or the current record has been deleted. Requested operation "
               u"requires "
               u"a current record.";
    case Misuse::ItemNotFound:
        return u"Item cannot be found in the collection corresponding to the requested name or ordinal.";
    case Misuse::ObjectClosed:
        return u"Operation is not allowed when the object is closed.";
    case Misuse::ObjectOpen:
        return u"Operation is not allowed when the object is open.";
    case Misuse::ProviderNotFound:
        return u"Provider cannot be found. It may not be properly installed.";
    case Misuse::ConnectionInvalid:
        return u"The connection cannot be used to perform this operation. It is either closed or invalid in "
               u"this "
               u"context.";
    }
    return u"";
}

} // namespace

RuntimeError failure(Misuse misuse, std::u16string source)
{
    return {static_cast<std::int32_t>(misuse), describeMisuse(misuse), std::move(source)};
}

RuntimeError providerNotFound()
{
    return failure(Misuse::ProviderNotFound, std::u16string(connectionSource));
}

} // namespace vqloan::ado
