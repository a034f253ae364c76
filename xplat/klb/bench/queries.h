#ifndef KLB_BENCH_QUERIES_H
#define KLB_BENCH_QUERIES_H

#include "library_session.h"

#include <string>
#include <string_view>
#include <vector>

namespace klb::bench {

/// An export that asks for one key.
struct Query {
    std::string_view what;
    /// Whether its keys are those of dynamic toggles.
    bool dynamic;
    /// Whether it reports a key that nobody registered as an error.
    bool refusesUnknownKeys;
    /// Asks for each of the keys, as a host's loop does. The answers are dropped: the compiler
    /// cannot leave out the calls.
    void (*askAll)(const std::vector<const char*>& keys);
};

const std::vector<Query>& allQueries();

/// KLB_GetToggle().
const Query& getToggleQuery();

/// A library that knows these keys, all of one kind.
class QuerySession {
public:
    QuerySession(const std::vector<std::string>& keys, bool dynamic);

private:
    klb::test::LibrarySession session_;
};

/// Many keys drawn at random, as a host passes them.
std::vector<const char*> drawQueries(const std::vector<std::string>& keys);

/// Keys of the same form that nobody registers.
std::vector<std::string> makeUnknownKeys(std::vector<std::string> keys);

} // namespace klb::bench

#endif
