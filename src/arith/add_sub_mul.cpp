// The members of addition, subtraction and multiplication.
#include "arith/operations.h"
#include "frame/lane_loop.h"

using namespace zel;

void ZEL_Math::add(float* d, const float* a, const float* b, Count num) { dispatch<Add>(theSIMD, d, num, a, b); }
void ZEL_Math::add(double* d, const double* a, const double* b, Count num) { elements<Add>(d, num, a, b); }
void ZEL_Math::add(int* d, const int* a, const int* b, Count num) { dispatch<Add>(theSIMD, d, num, a, b); }
void ZEL_Math::add(float* d, const float* a, float b, Count num) { dispatch<Add>(theSIMD, d, num, a, b); }
void ZEL_Math::add(double* d, const double* a, double b, Count num) { elements<Add>(d, num, a, b); }
void ZEL_Math::add(int* d, const int* a, int b, Count num) { dispatch<Add>(theSIMD, d, num, a, b); }
void ZEL_Math::addSIMD(float* d, const float* a, const float* b, Count num) { laneForm<Add>(d, num, a, b); }
void ZEL_Math::addSIMD(int* d, const int* a, const int* b, Count num) { laneForm<Add>(d, num, a, b); }
void ZEL_Math::addSIMD(float* d, const float* a, float b, Count num) { laneForm<Add>(d, num, a, b); }
void ZEL_Math::addSIMD(int* d, const int* a, int b, Count num) { laneForm<Add>(d, num, a, b); }

void ZEL_Math::sub(float* d, const float* a, const float* b, Count num) { dispatch<Subtract>(theSIMD, d, num, a, b); }
void ZEL_Math::sub(double* d, const double* a, const double* b, Count num) { elements<Subtract>(d, num, a, b); }
void ZEL_Math::sub(float* d, const float* a, float b, Count num) { dispatch<Subtract>(theSIMD, d, num, a, b); }
void ZEL_Math::sub(double* d, const double* a, double b, Count num) { elements<Subtract>(d, num, a, b); }
void ZEL_Math::sub(float* d, float a, const float* b, Count num) { dispatch<Subtract>(theSIMD, d, num, a, b); }
void ZEL_Math::sub(double* d, double a, const double* b, Count num) { elements<Subtract>(d, num, a, b); }
void ZEL_Math::subSIMD(float* d, const float* a, const float* b, Count num) { laneForm<Subtract>(d, num, a, b); }
void ZEL_Math::subSIMD(float* d, const float* a, float b, Count num) { laneForm<Subtract>(d, num, a, b); }
void ZEL_Math::subSIMD(float* d, float a, const float* b, Count num) { laneForm<Subtract>(d, num, a, b); }

void ZEL_Math::mul(float* d, const float* a, const float* b, Count num) { dispatch<Multiply>(theSIMD, d, num, a, b); }
void ZEL_Math::mul(double* d, const double* a, const double* b, Count num) { elements<Multiply>(d, num, a, b); }
void ZEL_Math::mul(float* d, const float* a, float b, Count num) { dispatch<Multiply>(theSIMD, d, num, a, b); }
void ZEL_Math::mul(double* d, const double* a, double b, Count num) { elements<Multiply>(d, num, a, b); }
void ZEL_Math::mulSIMD(float* d, const float* a, const float* b, Count num) { laneForm<Multiply>(d, num, a, b); }
void ZEL_Math::mulSIMD(float* d, const float* a, float b, Count num) { laneForm<Multiply>(d, num, a, b); }
