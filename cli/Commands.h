#pragma once

class CommandLine;

int runInfo(CommandLine& args);
