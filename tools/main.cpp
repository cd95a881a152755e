// SPDX-License-Identifier: ISC
#include "tools/cli.h"

int main(int argc, char** argv) { return quellard::runCommand(argc, argv); }
