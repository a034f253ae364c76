#ifndef KLB_TESTS_SUPPORT_ERROR_MODE_H
#define KLB_TESTS_SUPPORT_ERROR_MODE_H

#include "message_recorder.h"

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <typeinfo>

namespace klb::test {

/// How the library tells the test about errors.
enum class ErrorMode { Callback, Exception };

/// Puts the library into one error mode for its lifetime and states what calls report in it.
class ErrorObserver {
public:
    explicit ErrorObserver(ErrorMode mode) {
        if (mode == ErrorMode::Callback) {
            recorder_.emplace();
        } else {
            KLB_InitMessageProc(nullptr);
        }
    }

    /// The call reports exactly this error: one message of type 1 and a normal return, or an
    /// exception of exactly this type.
    template <class Exception, class Call>
    void expectError(const std::string& text, Call&& call) {
        if (recorder_) {
            EXPECT_NO_THROW(call());
            EXPECT_EQ(recorder_->take(), std::vector<Message>{error(text)});
        } else {
            expectThrows<Exception>(text, call);
        }
    }

    /// The call throws exactly this, and sends no message, in either mode.
    template <class Exception, class Call>
    void expectAlwaysThrows(const std::string& text, Call&& call) {
        expectThrows<Exception>(text, call);
        if (recorder_) {
            EXPECT_EQ(recorder_->take(), std::vector<Message>{});
        }
    }

    /// The call throws nothing and sends nothing but these messages; without a callback they are
    /// not sent.
    template <class Call>
    void expectMessages(const std::vector<Message>& messages, Call&& call) {
        EXPECT_NO_THROW(call());
        if (recorder_) {
            EXPECT_EQ(recorder_->take(), messages);
        }
    }

    /// The call throws nothing and sends no message.
    template <class Call>
    void expectSilence(Call&& call) {
        expectMessages({}, call);
    }

    bool hasCallback() const {
        return recorder_.has_value();
    }

private:
    template <class Exception, class Call>
    static void expectThrows(const std::string& text, Call&& call) {
        try {
            call();
            ADD_FAILURE() << "nothing was thrown, expected: " << text;
        } catch (const std::exception& caught) {
            EXPECT_EQ(std::string(typeid(caught).name()), typeid(Exception).name());
            EXPECT_EQ(std::string(caught.what()), text);
        }
    }

    std::optional<MessageRecorder> recorder_;
};

/// Runs the body once with a callback installed and once without.
inline void inBothErrorModes(const std::function<void(ErrorObserver&)>& body) {
    for (const ErrorMode mode : {ErrorMode::Callback, ErrorMode::Exception}) {
        SCOPED_TRACE(mode == ErrorMode::Callback ? "with a callback" : "with exceptions");
        ErrorObserver observer(mode);
        body(observer);
    }
}

} // namespace klb::test

#endif
