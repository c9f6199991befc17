/* A library that the tests of Sys_DLL load at run time; the test process
   is not linked with it, so whether it is loaded shows what Sys_DLL did. */
int vfl_test_dll_answer(void)
{
    return 42;
}
