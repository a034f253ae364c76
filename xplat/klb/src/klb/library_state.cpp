#include "klb/library_state.h"

namespace klb {

LibraryState processState;

} // namespace klb
