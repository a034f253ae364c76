#include "klb/library_state.h"

namespace klb {

constinit LibraryState processState;

} // namespace klb
