#pragma once

class CommandLine;

int runInfo(CommandLine& args);
int runC14n(CommandLine& args);
int runCerts(CommandLine& args);
int runVerify(CommandLine& args);
int runTimestamp(CommandLine& args);
int runReport(CommandLine& args);
int runServe(CommandLine& args);
