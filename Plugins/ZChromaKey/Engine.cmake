z_library(zck_engine
  SOURCES CancelPlane.cpp ChromaKey.cpp KeyPlan.cpp KeyPool.cpp KeySlice.cpp MaskPost.cpp
  DEPS zck_kernels zck_video zck_image zck_base)
