# gravok_python_site(<out-var> <prefix> <python>): the folder into which an install
# into <prefix> puts Python packages for the interpreter <python>, relative to
# <prefix> (the folder always lies inside it, so an install stays in its prefix):
#  - the per-user prefix (site.USER_BASE, ~/.local): the user site-packages,
#    lib/python3.X/site-packages, which every python3.X of the user reads;
#  - a prefix that holds the interpreter's own platlib for packages installed outside
#    its package manager (Debian's /usr/local/lib/python3.X/dist-packages for
#    /usr/local, a venv's site-packages for the venv): that folder;
#  - any other prefix: the interpreter's scheme for a prefix of its own,
#    lib/python3.X/site-packages, which the interpreter reads when PYTHONPATH names it.
# Python prints the folder; CMake makes it relative. Empty when <python> fails.
function(gravok_python_site out prefix python)
  execute_process(
    COMMAND ${python} -c [=[
import os, site, sys, sysconfig
prefix = os.path.realpath(sys.argv[1])
def inside(path):
    path = os.path.realpath(path)
    return os.path.commonpath([prefix, path]) == prefix and path != prefix
if prefix == os.path.realpath(site.getuserbase()):
    folder = sysconfig.get_path("platlib", os.name + "_user")
elif inside(sysconfig.get_path("platlib")):
    folder = sysconfig.get_path("platlib")
else:
    scheme = "posix_prefix" if os.name == "posix" else "nt"
    folder = sysconfig.get_path("platlib", scheme, vars={"base": sys.argv[1], "platbase": sys.argv[1]})
print(os.path.relpath(os.path.realpath(folder), prefix))
]=] ${prefix}
    OUTPUT_VARIABLE folder OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
  if(failed OR folder MATCHES "^\\.\\.")
    set(folder "")
  endif()
  set(${out} "${folder}" PARENT_SCOPE)
endfunction()
