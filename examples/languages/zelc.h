/* What a C program, or a language that calls C, sees of libZEL: a line for each member in use. */
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
void zel_mul(float* d, const float* a, float b, int64_t num);
double zel_dot(const float* a, const float* b, int64_t num);
void zel_flag(int on);
int zel_is_set(void);
#ifdef __cplusplus
}
#endif
