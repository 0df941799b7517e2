#include "camera/base/readable.h"
#include "camera/base/root_folder.h"
#include "camera/neighbours/digital_io/output_commands.h"
#include "camera/surroundings/neighbours.h"

#include <cerrno>
#include <fcntl.h>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

/*
 * The digital-IO daemon: switches the outputs as its FIFO says. How they stand is in the settings "status_do_i0"
 * and so on, from where the daemon and GET /camera/state read it.
 */

namespace camera
{

namespace
{

/** Both ends are opened here, so that the FIFO does not end whenever a writer closes it. */
FileDescriptor openFifo(const std::string &path)
{
    unlink(path.c_str());
    if (mkfifo(path.c_str(), 0660) != 0)
        throw std::system_error(errno, std::generic_category(), path);
    FileDescriptor fifo(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!fifo.valid())
        throw std::system_error(errno, std::generic_category(), path);
    return fifo;
}

class DigitalIo : public Neighbour
{
  public:
    explicit DigitalIo(Surroundings &around)
        : around_(around), path_(around.root.path(OUTPUT_FIFO)),
          fifo_(around.io, openFifo(path_), [this](int fifo) { receive(fifo); })
    {
        around.state.add("io", [this] {
            return nlohmann::json{{"commands", commands_}, {"refused", refused_}, {"last", last_}};
        });
    }

    ~DigitalIo() override { unlink(path_.c_str()); }

  private:
    /** One read per turn: a writer that never pauses does not keep the others waiting. */
    void receive(int fifo)
    {
        char buffer[4096];
        const ssize_t got = read(fifo, buffer, sizeof buffer);
        if (got > 0) {
            stream_.add({buffer, static_cast<size_t>(got)});
            carryOutAll();
        }
    }

    void carryOutAll()
    {
        std::vector<Setting> changes;
        while (const auto command = stream_.next()) {
            ++commands_;
            last_ = "setdo " + std::to_string(command->output) + (command->on ? " 1" : " 0");
            if (command->output < around_.store.number("capability_ndo"))
                changes.push_back({"status_do_i" + std::to_string(command->output), command->on ? "1" : "0"});
            else
                ++refused_;
        }
        try {
            around_.store.set(changes);
        } catch (const StoreError &error) {
            std::cerr << "kelpa-camera: " << error.what() << "\n";
        }
    }

    Surroundings &around_;
    std::string path_;
    OutputCommands stream_;
    std::uint64_t commands_ = 0;
    std::uint64_t refused_ = 0;
    std::string last_;
    Readable fifo_;
};

} // namespace

std::unique_ptr<Neighbour> makeDigitalIo(Surroundings &around)
{
    return std::make_unique<DigitalIo>(around);
}

} // namespace camera
