# Compile settings shared by every target of the project.

add_library(vx_warnings INTERFACE)
target_compile_options(vx_warnings INTERFACE -Wall -Wextra -Wno-unused-parameter)

if(VX_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined -O1)
  add_link_options(-fsanitize=address,undefined)
else()
  # Shared libraries must resolve every symbol they use.
  add_link_options(LINKER:--no-undefined)
endif()

# Instruction-set translation units are named after the set they use:
# foo_ssse3.cpp, foo_avx2.cpp, foo_avx512.cpp. Each gets the compiler flag for its set and its
# own inline namespace (VX_ISA_NS), so inline helpers compiled with wider
# instructions never take the place of the baseline copies at link time.
function(vx_apply_isa_flags)
  foreach(src IN LISTS ARGN)
    get_filename_component(name "${src}" NAME_WE)
    if(name MATCHES "_avx512$")
      # AVX2 code with AVX-512's byte permutes and mask registers. AVX-512
      # brings fused multiply-add, which must not merge the float steps that
      # exact integer results are built from.
      set_source_files_properties("${src}" PROPERTIES
        COMPILE_OPTIONS "-mavx2;-mavx512f;-mavx512bw;-mavx512vl;-mavx512vbmi;-ffp-contract=off"
        COMPILE_DEFINITIONS "VX_ISA_NS=isa_avx512")
    elseif(name MATCHES "_avx2$")
      set_source_files_properties("${src}" PROPERTIES COMPILE_OPTIONS "-mavx2" COMPILE_DEFINITIONS "VX_ISA_NS=isa_avx2")
    elseif(name MATCHES "_ssse3$")
      set_source_files_properties("${src}" PROPERTIES COMPILE_OPTIONS "-mssse3" COMPILE_DEFINITIONS "VX_ISA_NS=isa_ssse3")
    elseif(name MATCHES "_sse2$")
      set_source_files_properties("${src}" PROPERTIES COMPILE_OPTIONS "-msse2" COMPILE_DEFINITIONS "VX_ISA_NS=isa_sse2")
    endif()
  endforeach()
endfunction()
