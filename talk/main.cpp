#include "talk/sound.h"
#include "talk/speaker.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <random>
#include <string>

namespace
{

/** What the command line asks for. */
struct Options {
    talk::Speaker speaker;
    std::string file;
};

/** Adds what the command line may hold; the values go into `options`, which must outlive the parsing. */
void addOptions(CLI::App &app, Options &options)
{
    options.speaker.address = talk::parseAddress("127.0.0.1");
    const auto takeHost = [&options](const std::string &text) {
        try {
            options.speaker.address = talk::parseAddress(text);
        } catch (const std::exception &error) {
            throw CLI::ValidationError("--host", text + ": " + error.what());
        }
    };
    app.set_version_flag("--version", "kelpa-talk " PROGRAM_VERSION, "print the version");
    app.add_option("FILE", options.file, "a sound file, such as WAV or FLAC, of 8000 Hz and one channel")
        ->required();
    app.add_option_function<std::string>("--host", takeHost, "where the camera is (default: 127.0.0.1:8080)")
        ->type_name("ADDRESS[:PORT]");
    app.add_option("--user", options.speaker.credentials, "an account of the camera, where it asks for one")
        ->type_name("NAME:PASSWORD");
}

/** A name that no other client will have: the camera gives the speaker to the name that was registered last. */
std::string makeClientName()
{
    char name[16];
    snprintf(name, sizeof name, "talk-%08x", std::random_device()());
    return name;
}

/** Runs `step`; false, with its error shown under `subject`, when it throws. */
template <class Step>
bool succeeds(const std::string &subject, Step step)
{
    try {
        step();
        return true;
    } catch (const std::exception &error) {
        fprintf(stderr, "kelpa-talk: %s: %s\n", subject.c_str(), error.what());
        return false;
    }
}

int run(const Options &options)
{
    std::string audio;
    if (!succeeds(options.file, [&] { audio = talk::readSound(options.file); }))
        return EXIT_FAILURE;
    const std::string camera = talk::toText(options.speaker.address);
    printf("%s: %.1f s\n", options.file.c_str(), static_cast<double>(audio.size()) / talk::SAMPLE_RATE);
    fflush(stdout); // now, not when it has been said
    const std::string name = makeClientName();
    const bool said = succeeds(camera, [&] {
        talk::registerClient(options.speaker, name);
        talk::talk(options.speaker, name, audio);
    });
    return said ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    CLI::App app("Says a sound through a camera's speaker.", "kelpa-talk");
    addOptions(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &wanted) { // --help, --version
        return app.exit(wanted);
    } catch (const CLI::ParseError &error) {
        fprintf(stderr, "kelpa-talk: %s; see --help\n", error.what());
        return 2;
    }
    return run(options);
}
