#include "ProgramArguments.h"

#include "devserver/Access.h"
#include "devserver/net/LoopbackAddress.h"
#include <CLI/Error.hpp>
#include <CLI/Option.hpp>
#include <CLI/Validators.hpp>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace orv::devserver {

void describe(CLI::App& app, ProgramArguments& arguments) {
  app.name("orv-devserver");
  app.description(
      "The embedded classroom server. It listens on 127.0.0.1, or as --listen says. The page at "
      "http://127.0.0.1:PORT/ shows what passes; GET and POST /control steer it.");
  DevServer::Options& options = arguments.options;
  app.add_option("--port", options.port, "Port to listen on; 0: a free one")
      ->check(CLI::Range(0, 65535).description(""))
      ->type_name("N");
  app.add_option("--data", options.dataFile, "SQLite file that keeps the school")->type_name("FILE");
  app.add_option("--tls", arguments.tls, "Serve TLS with this certificate chain and key (PEM)")
      ->expected(2)
      ->type_name("CERT KEY");
  app.add_option("--listen", options.host,
                 "Numeric address to listen on; others than this machine's own need --tls")
      ->type_name("ADDRESS");
  app.add_flag("--plain-text", arguments.isPlain, "Without TLS for other machines, too");
  app.add_option("--name", options.names, "A name by which other machines reach the server")
      ->type_name("NAME");
  app.add_option("--token", options.token,
                 "Opens the page and /control to other machines; every user sees it here")
      ->type_name("TEXT");
  app.add_option("--token-file", arguments.tokenFile, "The same from the first line of a file of mode 0600")
      ->type_name("FILE");
  app.set_version_flag("--version", std::string("orv-devserver " ORV_VERSION));
}

DevServer::Options checked(ProgramArguments arguments) {
  DevServer::Options options = std::move(arguments.options);
  if (!arguments.tls.empty()) {
    options.tlsCertificateFile = arguments.tls[0];
    options.tlsKeyFile = arguments.tls[1];
  }
  if (!isLoopback(options.host) && arguments.tls.empty() && !arguments.isPlain) {
    throw std::runtime_error(
        "--listen " + options.host +
        " lets other machines in: --tls CERT KEY is needed, or --plain-text, by which everybody "
        "on the way can read passwords and tokens");
  }
  // A "Host" that cannot be read would be as good as this one.
  if (std::ranges::find(options.names, "") != options.names.end()) {
    throw std::runtime_error("--name: a name is expected");
  }
  if (!options.token.empty() && !arguments.tokenFile.empty()) {
    throw std::runtime_error("either --token or --token-file is expected");
  }
  if (!arguments.tokenFile.empty()) options.token = readTokenFile(arguments.tokenFile);
  if (options.token.empty()) return options;
  if (const std::string problem = problemWithToken(options.token); !problem.empty()) {
    throw std::runtime_error("--token: " + problem);
  }
  return options;
}

}  // namespace orv::devserver
