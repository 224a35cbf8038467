include(CheckCXXCompilerFlag)
# Marks where calls and jumps may arrive; only some processors have such a thing.
check_cxx_compiler_flag(-fcf-protection=full QV_HAS_CONTROL_FLOW_PROTECTION)

# qv_harden(TARGET...): what stands between a mistake in these libraries and programs, all of which
# are shipped, and somebody who would use it. SECURITY.md tells of it, tests/binary looks at the files.
function(qv_harden)
  foreach(target IN LISTS ARGN)
    target_compile_options(${target} PRIVATE -fstack-protector-strong -fstack-clash-protection
      $<$<BOOL:${QV_HAS_CONTROL_FLOW_PROTECTION}>:-fcf-protection=full>)
    target_link_options(${target} PRIVATE
      LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack LINKER:-z,separate-code)
    # A sanitizer resolves its calls late, and checks the C library's in its own way.
    if(NOT QV_SANITIZE)
      target_link_options(${target} PRIVATE LINKER:-z,defs LINKER:-z,text)
      # The checks want an optimizing compiler. Some compilers have a lower level built in.
      target_compile_options(${target} PRIVATE
        "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
      # What nothing reaches stays out: nobody needs it but somebody who looks for code to jump
      # to, and it is half of the library.
      target_compile_options(${target} PRIVATE
        "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-ffunction-sections;-fdata-sections>")
      target_link_options(${target} PRIVATE
        "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:LINKER:--gc-sections>")
    endif()
  endforeach()
endfunction()
