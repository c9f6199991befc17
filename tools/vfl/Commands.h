// The commands of the vfl host. Each takes the arguments after its own name
// (argv[0] is the command name) and returns the process exit status.
#pragma once

int CmdInfo(int argc, char** argv);
int CmdCat(int argc, char** argv);
int CmdNew(int argc, char** argv);
int CmdRegions(int argc, char** argv);
int CmdAdopt(int argc, char** argv);
int CmdPrint(int argc, char** argv);
int CmdVolumes(int argc, char** argv);
int CmdUmid(int argc, char** argv);
int CmdConvert(int argc, char** argv);
int CmdOverview(int argc, char** argv);
int CmdCompact(int argc, char** argv);
int CmdUnique(int argc, char** argv);
int CmdFind(int argc, char** argv);
int CmdKeys(int argc, char** argv);
int CmdCrashlog(int argc, char** argv);
int CmdPlay(int argc, char** argv);
