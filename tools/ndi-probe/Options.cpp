#include "tools/ndi-probe/Options.h"

namespace ndiprobe
{

namespace
{

const char Description[] =
    "Waits for an NDI sender and prints what it carries.\n"
    "\n"
    "  ndi-probe \"STUDIO (Camera 1)\"\n"
    "  ndi-probe Camera --seconds 3 --json\n"
    "\n"
    "Exit status: 0 done, 3 no such sender, 64 wrong use, 69 the sender delivers nothing, 70 no NDI runtime.";

nditools::Usage usage()
{
    return {"ndi-probe",
            Description,
            {{"seconds", "How long to wait for the sender, and then for its first frame. Default: 10.", "number"},
             {"json", "Print a JSON document."}},
            "name",
            "The sender's name, or a part that only one sender's name has."};
}

Options optionsOf(const nditools::CommandLine &line)
{
    Options options;
    options.name = line.senderName();
    if (line.has("seconds"))
        options.patience = line.patience("seconds");
    options.json = line.has("json");
    return options;
}

} // namespace

ParsedOptions parseOptions(const QStringList &arguments)
{
    return nditools::parse(usage(), arguments, optionsOf);
}

} // namespace ndiprobe
