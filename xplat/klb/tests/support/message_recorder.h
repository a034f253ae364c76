#ifndef KLB_TESTS_SUPPORT_MESSAGE_RECORDER_H
#define KLB_TESTS_SUPPORT_MESSAGE_RECORDER_H

#include "klb.h"

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace klb::test {

struct Message {
    KLB_MessageType type;
    std::string text;

    bool operator==(const Message&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Message& message) {
    return out << "type " << static_cast<int>(message.type) << ": \"" << message.text << '"';
}

inline Message error(std::string text) {
    return {KLB_MessageType_Error, std::move(text)};
}

inline Message warning(std::string text) {
    return {KLB_MessageType_Warning, std::move(text)};
}

/// Installs itself as the message callback for its lifetime and keeps what it receives. One at a
/// time; afterwards no callback is installed.
class MessageRecorder {
public:
    MessageRecorder() {
        messages().clear();
        KLB_InitMessageProc(&record);
    }
    ~MessageRecorder() {
        KLB_InitMessageProc(nullptr);
    }
    MessageRecorder(const MessageRecorder&) = delete;
    MessageRecorder& operator=(const MessageRecorder&) = delete;

    /// The messages since construction or the last take(), in order; forgets them.
    std::vector<Message> take() {
        return std::exchange(messages(), {});
    }

    /// The callback itself.
    static int record(KLB_MessageType type, const char* text) {
        messages().push_back({type, text});
        return -1;
    }

private:
    static std::vector<Message>& messages() {
        static std::vector<Message> all;
        return all;
    }
};

} // namespace klb::test

#endif
