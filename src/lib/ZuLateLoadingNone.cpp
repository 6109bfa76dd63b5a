// The entries of a program that is linked without late loading: none. A source
// of its own, so that the linker takes it only where nobody else has any.
#include "ZuLateLoading.h"

const zustd::LateFunction zustdLateFunctions[] = {{}};
const std::size_t zustdLateFunctionCount = 0;
