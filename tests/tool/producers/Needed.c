/* A library that another one needs: what it offers is called NAME. NEEDS names what it needs
 * itself. */
#if defined(_WIN32)
#define EXPORT
#else
#define EXPORT __attribute__((visibility("default")))
#endif

EXPORT int NAME(void);
#if defined(NEEDS)
int NEEDS(void);
#endif

int NAME(void) {
#if defined(NEEDS)
    return NEEDS();
#else
    return 0;
#endif
}
