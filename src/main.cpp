#include "core/Startup.h"

int main(int argc, char** argv) { return velmaris::main(argc, argv); }
