/* Every function of the component, called as C. */
#ifndef DXR_TESTS_UNIT_MESSAGE_FILTER_C_CALLER_H
#define DXR_TESTS_UNIT_MESSAGE_FILTER_C_CALLER_H

#ifdef __cplusplus
extern "C" {
#endif

/* 0, or the number of the first step whose result was not the expected one. */
int MessageFilterCallsFromC(void);

#ifdef __cplusplus
}
#endif

#endif /* DXR_TESTS_UNIT_MESSAGE_FILTER_C_CALLER_H */
