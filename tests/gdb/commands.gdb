set width 0
set print array on
set startup-with-shell off
set debuginfod enabled off
break Show
run
up
echo Shown:\n
print narrow
print wide
print *first@20
set variable narrow._M_dataplus._M_p = 8
print narrow
print empty
kill
