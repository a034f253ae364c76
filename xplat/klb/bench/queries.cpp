#include "queries.h"

#include "configuration.h"

#include "klb.h"

#include <cstddef>
#include <random>

namespace klb::bench {

namespace {

constexpr std::size_t kQueries = 100'000;

template <auto Export>
void askAll(const std::vector<const char*>& keys) {
    for (const char* key : keys) {
        Export(key);
    }
}

void setAll(const std::vector<const char*>& keys) {
    for (const char* key : keys) {
        KLB_SetDynamicToggle(key, false);
    }
}

} // namespace

const std::vector<Query>& allQueries() {
    static const std::vector<Query> all = {
        {"KLB_GetToggle", false, false, &askAll<KLB_GetToggle>},
        {"KLB_GetDynamicToggle", true, false, &askAll<KLB_GetDynamicToggle>},
        {"KLB_SetDynamicToggle", true, true, &setAll},
        {"KLB_IsToggleRegistered", false, false, &askAll<KLB_IsToggleRegistered>},
        {"KLB_IsDynamicToggleRegistered", true, false, &askAll<KLB_IsDynamicToggleRegistered>},
    };
    return all;
}

const Query& getToggleQuery() {
    return allQueries().front();
}

QuerySession::QuerySession(const std::vector<std::string>& keys, bool dynamic)
    : session_(kSystemId) {
    for (const std::string& key : keys) {
        (dynamic ? KLB_RegisterDynamicToggle : KLB_RegisterToggle)(key.c_str(), true, kToken);
    }
}

std::vector<const char*> drawQueries(const std::vector<std::string>& keys) {
    std::mt19937_64 random(2);
    std::uniform_int_distribution<std::size_t> index(0, keys.size() - 1);
    std::vector<const char*> queries(kQueries);
    for (const char*& query : queries) {
        query = keys[index(random)].c_str();
    }
    return queries;
}

std::vector<std::string> makeUnknownKeys(std::vector<std::string> keys) {
    for (std::string& key : keys) {
        key[key.rfind('/') + 1] = 'F';
    }
    return keys;
}

} // namespace klb::bench
