/* A host written in C. */
#ifndef C_HOST_H
#define C_HOST_H

#ifdef __cplusplus
extern "C" {
#endif

/* Create all blocks, attach an entry object to them and give its buflg; -1 when a call fails. */
int c_host_buflg(int buflength);

#ifdef __cplusplus
}
#endif

#endif
