set width 0
set startup-with-shell off
set debuginfod enabled off
break Show
run
echo Shown:\n
print narrow
print wide
python
tags = gdb.parse_and_eval("lastTag").type.fields()
print([field.name.rpartition("::")[2] for field in tags][:-1] == [kind[0] for kind in KINDS])
end
commands 1
silent
print *&value
continue
end
print *&value
continue
