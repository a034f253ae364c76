#ifndef KLB_TESTS_BOUNDARY_MSVC_HOST_CHECKED_FACES_H
#define KLB_TESTS_BOUNDARY_MSVC_HOST_CHECKED_FACES_H

namespace host {

void checkExports();
void checkComponentFace();

} // namespace host

#endif
