// The command orvane.

#include "commands/commands.h"

int main(int argc, char** argv) { return orvane::commands::run(argc, argv); }
