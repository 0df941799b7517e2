#pragma once

#include "tests/fakes/unix_endpoint.h"

#include <chrono>
#include <deque>
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
    /** Fails the test when scripted requests were not made, or others than those. */
    ~FakeStore();
    FakeStore(const FakeStore &) = delete;
    FakeStore &operator=(const FakeStore &) = delete;

    void Set(const std::string &name, const std::string &value);
    void Set(const Settings &settings);
    void Remove(const std::string &name);
    /** The stored value; "(none)" for a name that is not there. */
    [[nodiscard]] std::string Value(const std::string &name) const;
    [[nodiscard]] Settings All() const;

    /** Every request since the start or ClearRequests, byte for byte. */
    [[nodiscard]] std::vector<std::string> Requests() const;
    /** The pairs of the last "set", "(none)" without one. */
    [[nodiscard]] std::string LastSet() const;
    /** The pairs of every "set" in order. */
    [[nodiscard]] std::vector<std::string> Sets() const;
    void ClearRequests();

    /**
     * Scripts the next request: it must be exactly `request` and is answered with `reply` (empty: closes without
     * one). From the first call on, every request must be a scripted one.
     */
    void Expect(const std::string &request, const std::string &reply);

    /* Faults. They last until Heal, or strike one request only when `nth` says which, counted from now as 1. */
    void CloseEarly(int nth = 0);                               ///< closes without reading the request
    void AnswerNothing(int nth = 0);                            ///< reads the request and closes
    void Answer(std::string_view bytes, int nth = 0);           ///< answers these bytes, whatever was asked
    void CutAnswer(size_t length, int nth = 0);                 ///< answers `length` bytes of the reply
    void DelayAnswer(std::chrono::milliseconds d, int nth = 0); ///< answers late
    /** Runs `action` when a request has come, before it is answered: the client waits meanwhile. */
    void Before(std::function<void()> action, int nth = 0);
    void Heal();
    /** Waits until the daemon's connections are closed at this end too, for tests that count descriptors. */
    void WaitUntilIdle() const { m_endpoint.WaitUntilIdle(); }
    /** Nobody listens, until Listen. */
    void Refuse() { m_endpoint.Close(); }
    void Listen() { m_endpoint.Open(); }

  private:
    struct Fault {
        enum class Kind { None, CloseEarly, Nothing, Bytes, Cut, Delay, Action } kind = Kind::None;
        int nth = 0;
        std::string bytes = {};
        size_t length = 0;
        std::chrono::milliseconds delay{0};
        std::function<void()> action = {};
    };
    struct Step {
        std::string request;
        std::string reply;
    };
    void SetFault(Fault fault);
    Fault TakeFault();
    void Serve(int connection);
    std::string Reply(const std::string &request);

    mutable std::mutex m_mutex;
    Settings m_settings;
    std::vector<std::string> m_requests;
    std::deque<Step> m_script;
    bool m_scripted = false;
    std::vector<std::string> m_complaints;
    Fault m_fault;
    UnixEndpoint m_endpoint;
};
