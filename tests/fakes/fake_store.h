#pragma once

#include "tests/fakes/unix_endpoint.h"

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

/**
 * The configuration store, on a thread. A "get" is answered with one line "name=value" per asked key that it holds,
 * in the order asked, a "set" with its pairs as lines or with a lone line feed when it held none.
 *
 * What it does not do: check names or values, keep anything beyond the object's life, answer several connections at
 * once, or act on what is set (a "network_restart=1" is stored like any other pair).
 */
class FakeStore
{
  public:
    using Settings = std::map<std::string, std::string>;

    /** Listens at `path`, the resolved place of "/tmp/configer". */
    FakeStore(const std::string &path, Settings settings);
    /** Fails the test when it was asked for what no store does. */
    ~FakeStore();
    FakeStore(const FakeStore &) = delete;
    FakeStore &operator=(const FakeStore &) = delete;

    void set(const std::string &name, const std::string &value) { locked()->settings[name] = value; }
    void set(const Settings &settings);
    void remove(const std::string &name) { locked()->settings.erase(name); }
    /** The stored value; "(none)" for a name that is not there. */
    [[nodiscard]] std::string value(const std::string &name) const;
    [[nodiscard]] Settings all() const { return locked()->settings; }

    /** Every request since the start or clearRequests(), byte for byte. */
    [[nodiscard]] std::vector<std::string> requests() const { return locked()->requests; }
    /** The pairs of every "set" in order. */
    [[nodiscard]] std::vector<std::string> sets() const;
    /** The pairs of the last "set", "(none)" without one. */
    [[nodiscard]] std::string lastSet() const;
    void clearRequests() { locked()->requests.clear(); }

    /* Faults. They last until heal(), or strike one request only when `nth` says which, counted from now as 1. */
    /** Closes without reading the request. */
    void closeEarly(int nth = 0) { setFault({nth, true, {}}); }
    /** Reads the request and closes. */
    void answerNothing(int nth = 0) { answer("", nth); }
    /** Answers these bytes, whatever was asked. */
    void answer(std::string_view bytes, int nth = 0)
    {
        setFault({nth, false, [answer = std::string(bytes)](const auto &) { return answer; }});
    }
    /** Runs `action` when a request has come, before it is answered: the client waits meanwhile. */
    void before(std::function<void()> action, int nth = 0)
    {
        setFault({nth, false, [run = std::move(action)](const auto &reply) { return run(), reply; }});
    }
    void heal() { setFault({}); }

    /** Waits until the daemon's connections are closed at this end too, for tests that count descriptors. */
    void waitUntilIdle() const { endpoint_.waitUntilIdle(); }
    /** Nobody listens, until listen(). */
    void refuse() { endpoint_.close(); }
    void listen() { endpoint_.open(); }

  private:
    struct Fault {
        int nth = 0;
        bool closeEarly = false;
        std::function<std::string(const std::string &reply)> answer = {}; ///< what is sent instead of the reply
    };
    struct State {
        Settings settings;
        std::vector<std::string> requests = {};
        std::vector<std::string> complaints = {};
        Fault fault = {};
    };
    /** The state, locked until the end of the expression or the scope. */
    struct Lock {
        State *operator->() const { return state; }
        State *state;
        std::unique_lock<std::mutex> lock;
    };
    [[nodiscard]] Lock locked() const { return {&state_, std::unique_lock(mutex_)}; }
    void setFault(Fault fault) { locked()->fault = std::move(fault); }
    Fault takeFault();
    void serve(int connection);
    std::string replyTo(const std::string &request);

    mutable std::mutex mutex_;
    mutable State state_;
    UnixEndpoint endpoint_;
};
