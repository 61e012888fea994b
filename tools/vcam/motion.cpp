// vcam motion: what the motion sensor measures.
#include "platform/virtual/motion.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/verb.h"

#include <cstdio>

namespace vcam
{
namespace
{

using virt::MotionKind;

struct option_row {
    const char *name; // "--" and the word of the model
    int numbers;
    const char *type;
    const char *summary;
};

constexpr option_row MODEL[] = {
    {"--rate", 3, "NUMBER", "The rates at 0 degrees, as raw values"},
    {"--drift", 3, "NUMBER", "What is added to them per degree"},
    {"--noise", 1, "N", "How much a sample is off at most, either way"},
    {"--from", 1, "DEGREES", "Temperature of the first sample (25)"},
    {"--rise", 1, "DEGREES", "How much warmer each sample is than the one before (0)"},
    {"--seed", 1, "N", "Another seed gives other noise (1)"},
};

CLI::App *add_model(CLI::App &app)
{
    CLI::App *model = app.add_subcommand("model", "Set a motion by a few numbers");
    for (const option_row &row : MODEL)
        model->add_option(row.name, row.summary)->expected(row.numbers)->type_name(row.type);
    return model;
}

// The options that were given, a line each.
std::string model_text(const CLI::App &model)
{
    std::string text;
    for (const option_row &row : MODEL) {
        const std::vector<std::string> numbers = model.get_option(row.name)->results();
        if (!numbers.empty())
            text += std::string(row.name + 2) + " " + join_words(numbers) + "\n";
    }
    return text;
}

void set(MotionKind kind, const std::string &text)
{
    const std::string mistake = virt::motion_mistake(kind, text);
    if (!mistake.empty())
        throw failure("not understood: " + mistake);
    if (!virt::set_motion(kind, text))
        throw failure("the motion cannot be written");
}

void set_samples(const std::string &file)
{
    const auto text = read_file(file);
    if (!text)
        throw failure("'" + file + "' cannot be read");
    set(MotionKind::samples, *text);
}

void show_latest()
{
    const auto sample = virt::latest_motion_sample();
    if (!sample)
        return static_cast<void>(std::puts("no reading yet"));
    const auto &[x, y, z] = sample->axes;
    std::printf("latest %d %d %d at %g degrees\n", x, y, z, sample->degrees);
}

void show()
{
    const auto kind = virt::motion_kind();
    if (!kind)
        return static_cast<void>(std::puts("off"));
    if (*kind == MotionKind::model)
        std::printf("model\n%s", virt::motion_text(*kind).c_str());
    else
        std::puts("file virtual/motion/samples");
    show_latest();
}

} // namespace

int verb_motion(const invocation &in, CLI::App &app)
{
    std::string file;
    app.require_subcommand(0, 1);
    const CLI::App *model = add_model(app);
    CLI::App *samples = app.add_subcommand("file", "Set a motion by a file of samples");
    samples->add_option("SAMPLES", file, "A sample a line: X Y Z and the degrees")->required();
    const CLI::App *off = app.add_subcommand("off", "End the motion");
    in.open(app);
    if (model->parsed())
        set(MotionKind::model, model_text(*model));
    else if (samples->parsed())
        set_samples(file);
    else if (off->parsed())
        virt::end_motion();
    else
        show();
    return OK;
}

} // namespace vcam
