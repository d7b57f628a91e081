"""libZEL from Python: NumPy arrays through the shim. Where the shim lies is the one argument."""
import ctypes
import sys

import numpy as np

floats = np.ctypeslib.ndpointer(np.float32, flags="C_CONTIGUOUS,ALIGNED")
written = np.ctypeslib.ndpointer(np.float32, flags="C_CONTIGUOUS,ALIGNED,WRITEABLE")
zel = ctypes.CDLL(sys.argv[1])
zel.zel_mul.argtypes = [written, floats, ctypes.c_float, ctypes.c_int64]
zel.zel_mul.restype = None
zel.zel_dot.argtypes = [floats, floats, ctypes.c_int64]
zel.zel_dot.restype = ctypes.c_double

a = np.arange(1, 6, dtype=np.float32)
d = np.empty_like(a)
zel.zel_mul(d, a, 2, a.size)
print(zel.zel_dot(d, a, a.size), zel.zel_is_set())


def phase(array):
    return -array.ctypes.data // 4 % 4


whole = np.ones(1000, np.float32)
print("phases apart:", (phase(whole[1:]) - phase(whole)) % 4)
odd = np.frombuffer(bytes(401), np.float32, 100, 1)  # behind a header of one byte, and read-only
for refused in whole[::2], whole.astype(np.float64), odd, np.frombuffer(bytes(400), np.float32):
    try:
        zel.zel_mul(refused, refused, 2, 10)
    except ctypes.ArgumentError:
        print("refused")
