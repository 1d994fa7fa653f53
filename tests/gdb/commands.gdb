set width 0
set print array on
set startup-with-shell off
set debuginfod enabled off
break Shown
run
up
echo Shown:\n
print narrow
print wide
print values
print *(MultiType *)&noText
print *(MultiType *)&noBlock
print *(MultiType *)&noTag
set variable narrow._M_dataplus._M_p = 8
print narrow
print empty
kill
