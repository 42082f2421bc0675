#include "access_options.h"

namespace tarnwick::program {

void add_access_options(CLI::App &app, AccessOptions &options)
{
    auto const add = [&app](std::string const &name, std::string &target, char const *type, std::string const &help) {
        app.add_option(name, target, help)->type_name(type)->take_last();
    };
    add("--curve-keys", options.curve_keys, "FILE",
        "encrypt, and prove who this side is, with the key pair of this file; tarnwick keys creates it");
    add("--allow", options.allow, "FILE",
        "where an address is bound: only clients whose public keys are in this file, or in a .pub file of this folder");
    add("--server-key", options.server_key, "FILE",
        "where an address is connected to: the file with the public key of the other side");
}

void add_keys(CLI::App &app, KeysOptions &options, Command &command)
{
    auto &sub =
        add_command(app, "keys", "Create keys for record and replay", "usage: tarnwick keys [OPTION...] NAME");
    sub.add_option("NAME", options.name,
                   "creates NAME.key, which must remain secret, and NAME.pub, for the other side")
        ->type_name("");
    sub.footer("Exit status: 0 success, 2 wrong usage, 3 a file cannot be written.");
    sub.callback([&] {
        if (options.name.empty())
            throw CLI::ValidationError("a name for the files is required");
        command = [&options] { return keys(options); };
    });
}

} // namespace tarnwick::program
