#pragma once

// Start-up of the system layer. The host calls Init() once before it uses
// anything of the layer; it installs every platform method in a fixed
// order. Further calls do nothing.
class Sys_Init
{
public:
    static void Init();

private:
    // Installs the platform methods; defined by the platform.
    static void PlatformInit();
};
