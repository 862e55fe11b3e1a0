#pragma once

#include <string>

#include "ChatPlatform/AppGroup.h"
#include "DemoServer/Server.h"
#include "Foundation/URL.h"
#include "Support/Files.h"

/// A user who is signed in to a chat server on loopback, with a record file and a session token like a client's. The
/// environment names a directory of its own for the records and, until it is told otherwise, an embedded secret store.
///
/// The server is a process of its own, so that what it takes of time and memory is not this one's, and ends with this
/// one. To be made before any thread is.
class SignedIn {
public:
    SignedIn();
    ~SignedIn();
    SignedIn(const SignedIn&) = delete;
    SignedIn& operator=(const SignedIn&) = delete;

    /// What the extension's bundle, in the build tree, declares.
    const ChatPlatform::AppGroup& group() const { return group_; }

    /// Stores the session token in the secret store that the environment names now. Throws
    /// `ChatPlatform::CredentialStore::Failure`.
    void storeToken() const;

    /// A push whose text the server keeps back until it is acknowledged, and whose sender has a picture.
    std::string push(const std::string& number) const;

    /// What push "1" makes the extension send: a POST, then a GET, with these headers and this body.
    std::string acknowledgementURL() const;
    std::string pictureURL() const;
    std::string authorization() const;
    static std::string acknowledgement();

    /// A place for files, which goes with the object.
    const std::filesystem::path& directory() const { return directory_.path(); }

    /// What is known of the server.
    const DemoServer::ServerOptions& server() const { return server_; }

private:
    Support::TemporaryDirectory directory_;
    ChatPlatform::AppGroup group_;
    DemoServer::ServerOptions server_;
    Foundation::URL url_;
    int process_ = 0;
};
