// The definitions that Crypto++ keeps in its units dll.cpp and integer.cpp and
// that the linker asks for, without the rest of those units.
//
// Big integers are not linked. A parameter set in which one is looked for holds
// none, which is what AssignIntToInteger says here.
#define CRYPTOPP_MANUALLY_INSTANTIATE_TEMPLATES

#include <cryptopp/cryptlib.h>
#include <cryptopp/filters.h>
#include <cryptopp/modes.h>
#include <cryptopp/strciphr.h>

#include <string>
#include <typeinfo>

NAMESPACE_BEGIN(CryptoPP)

bool AssignIntToInteger(const std::type_info&, void*, const void*) { return false; }

// Called with base 10 only, for the numbers in exception texts.
template <>
std::string IntToString<word64>(word64 value, unsigned int) {
    return std::to_string(value);
}

NAMESPACE_END
