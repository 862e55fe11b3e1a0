#pragma once

#include <memory>
#include <string>

#include <curl/curl.h>

#include "ChatPush/PushProcessor.h"
#include "Foundation/Releaser.h"
#include "Support/SignedIn.h"

/// One push through the pipeline, time and again: record file, verification, token from the embedded store,
/// acknowledgement that brings the text, picture. The connection stays.
class Pipeline {
public:
    static constexpr const char* name = "a push through PushProcessor";

    explicit Pipeline(const SignedIn& session);

    /// Whether the push became what it should.
    bool run();

private:
    const ChatPush::PushProcessor processor_;
    const UserNotifications::UNMutableNotificationContent content_;
};

/// What such a push cannot do without: a verification and the two requests on one handle, with all that can be ready
/// before.
class Bare {
public:
    static constexpr const char* name = "its requests on one libcurl handle, and a verification";

    explicit Bare(const SignedIn& session);

    /// Whether both were answered.
    bool run();

private:
    bool isAnswered();

    using Handle = std::unique_ptr<CURL, Foundation::Releaser<curl_easy_cleanup>>;
    using Headers = std::unique_ptr<curl_slist, Foundation::Releaser<curl_slist_free_all>>;

    const SignedIn& session_;
    const std::string key_;
    const std::string signature_;
    const std::string acknowledgementURL_;
    const std::string pictureURL_;
    const std::string body_;
    Headers headers_;
    Headers pictureHeaders_;
    std::string answer_;
    const Handle handle_;
};
