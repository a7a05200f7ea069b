/* A shared object that is no module. */
int dxr_no_module(void);
int dxr_no_module(void) {
    return 0;
}
