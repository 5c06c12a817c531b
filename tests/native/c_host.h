/* A host written in C. */
#ifndef C_HOST_H
#define C_HOST_H

#ifdef __cplusplus
extern "C" {
#endif

/* Create an entry object and give its buflg; -1 when a call fails. */
int c_host_buflg(void);

#ifdef __cplusplus
}
#endif

#endif
