#include "queries.h"

#include "configuration.h"

#include "klb.h"

#include <cstddef>
#include <random>

namespace klb::bench {

namespace {

constexpr std::size_t kQueries = 100'000;

void getToggle(const char* key) {
    KLB_GetToggle(key);
}
void getDynamicToggle(const char* key) {
    KLB_GetDynamicToggle(key);
}
void setDynamicToggle(const char* key) {
    KLB_SetDynamicToggle(key, false);
}
void isToggleRegistered(const char* key) {
    KLB_IsToggleRegistered(key);
}
void isDynamicToggleRegistered(const char* key) {
    KLB_IsDynamicToggleRegistered(key);
}

} // namespace

const std::vector<Query>& allQueries() {
    static const std::vector<Query> all = {
        {"KLB_GetToggle", false, false, &getToggle},
        {"KLB_GetDynamicToggle", true, false, &getDynamicToggle},
        {"KLB_SetDynamicToggle", true, true, &setDynamicToggle},
        {"KLB_IsToggleRegistered", false, false, &isToggleRegistered},
        {"KLB_IsDynamicToggleRegistered", true, false, &isDynamicToggleRegistered},
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
