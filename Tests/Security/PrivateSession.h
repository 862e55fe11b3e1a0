#pragma once

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "Support/Files.h"

/// A session bus of its own, which the environment then names, and the keyring daemon behind it.
class PrivateSession {
public:
    /// What the bus starts for who asks for the secret service. Locked, the default keyring is one that
    /// nobody has unlocked since the daemon was started, as after a login without password.
    enum class Keyring { none, unlocked, locked };

    /// The keyring and the sockets are in the directory `home`, from one session to the next.
    PrivateSession(const std::filesystem::path& home, Keyring keyring) : home_(home) {
        for (const char* name : {"HOME", "XDG_RUNTIME_DIR", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
            ::setenv(name, home.c_str(), 1);
        const std::string address = "unix:path=" + (home / "bus").string();
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
        Support::writeFile(home / "bus.conf",
                           "<busconfig><type>session</type><listen>" + address + "</listen>"
                           "<servicedir>services</servicedir><policy context='default'><allow send_destination='*'/>"
                           "<allow receive_sender='*'/><allow own='*'/></policy></busconfig>");
        Support::writeFile(home / "password", "password");
        const std::string unlock = keyring == Keyring::unlocked ? "--unlock " : "";
        Support::writeFile(home / "keyring", "echo $$ > keyring.pid; exec gnome-keyring-daemon --foreground " + unlock +
                                             "--components=secrets < password > keyring.log 2>&1");
        if (keyring != Keyring::none)
            Support::writeFile(home / "services/secrets.service",
                               "[D-BUS Service]\nName=org.freedesktop.secrets\nExec=/bin/sh keyring\n");

        // Nothing is left behind where a test crashes: the bus ends with the test, the keyring with the bus.
        output_ = ::popen("cd && exec setpriv --pdeathsig KILL dbus-daemon --nofork --config-file=bus.conf "
                          "--print-address=1 --print-pid=1 2> bus.log", "re");
        // What it prints is there once it listens.
        if (output_ == nullptr || std::fscanf(output_, "%*s %d", &bus_) != 1) throw std::runtime_error("no bus");
    }
    ~PrivateSession() {
        signalKeyring(SIGKILL);
        ::kill(bus_, SIGKILL);
        ::pclose(output_);
    }
    PrivateSession(PrivateSession&&) = delete;

    /// Stops the keyring daemon where it stands: it keeps its name on the bus and answers nothing. An
    /// operation must have started it.
    void suspendKeyring() { signalKeyring(SIGSTOP); }

private:
    void signalKeyring(int signal) {
        pid_t keyring = 0;
        if (std::ifstream(home_ / "keyring.pid") >> keyring) ::kill(keyring, signal);
    }

    std::filesystem::path home_;
    FILE* output_;
    pid_t bus_ = 0;
};
