# Made by scripts/manual from the definitions of the commands.

_certificatectl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command='' words='' files=no word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in
            init | list | show | get | create | replace | rollback | delete | generate-csr | requests | tasks | watch | ping | check | action)
                command=$word
                break ;;
        esac
    done
    # What the word before asks for; else what the command takes.
    case "$command $previous" in
        *' --timeout') ;;
        init' --collection') ;;
        list' --expiring') ;;
        create' --type') words='PEM PEMchain PKCS7' ;;
        replace' --type') words='PEM PEMchain PKCS7' ;;
        generate-csr' --cn') ;;
        generate-csr' --organization') ;;
        generate-csr' --organizational-unit') ;;
        generate-csr' --city') ;;
        generate-csr' --state') ;;
        generate-csr' --country') ;;
        generate-csr' --email') ;;
        generate-csr' --contact-person') ;;
        generate-csr' --surname') ;;
        generate-csr' --given-name') ;;
        generate-csr' --initials') ;;
        generate-csr' --unstructured-name') ;;
        generate-csr' --san') ;;
        generate-csr' --key-usage') words='DigitalSignature NonRepudiation KeyEncipherment DataEncipherment KeyAgreement EncipherOnly DecipherOnly ServerAuthentication ClientAuthentication CodeSigning EmailProtection Timestamping OCSPSigning' ;;
        generate-csr' --rsa') words='2048 3072 4096' ;;
        generate-csr' --curve') words='P256 P384 P521' ;;
        generate-csr' --algorithm') words='RSA ECDSA ECDH' ;;
        generate-csr' --challenge-password') ;;
        generate-csr' --challenge-password-file') files=yes ;;
        generate-csr' -o' | generate-csr' --output') files=yes ;;
        requests' --remove') ;;
        tasks' -o' | tasks' --output') files=yes ;;
        watch' --count') ;;
        watch' --seconds') ;;
        ping' --tries') ;;
        ping' --pause') ;;
        action' --body') files=yes ;;
        init' '*) words='--collection -h --help --json --timeout' ;;
        list' '*) words='--expiring -h --help --json --timeout' ;;
        show' '*) words='-h --help --json --timeout' ;;
        get' '*) words='--raw -h --help --json --timeout' ;;
        create' '*) words='--type -h --help --json --timeout' files=yes ;;
        replace' '*) words='--type -h --help --json --timeout' files=yes ;;
        rollback' '*) words='-h --help --json --timeout' ;;
        delete' '*) words='-h --help --json --timeout' ;;
        generate-csr' '*) words='--cn --organization --organizational-unit --city --state --country --email --contact-person --surname --given-name --initials --unstructured-name --san --key-usage --rsa --curve --algorithm --challenge-password --challenge-password-file -o --output --no-wait -h --help --json --timeout' ;;
        requests' '*) words='--remove -h --help --json --timeout' ;;
        tasks' '*) words='-o --output --clear -h --help --json --timeout' ;;
        watch' '*) words='--count --seconds -h --help --json --timeout' ;;
        ping' '*) words='--tries --pause -h --help --json --timeout' ;;
        check' '*) words='--repair -h --help --json --timeout' ;;
        action' '*) words='--body -h --help --json --timeout' ;;
        *) words='init list show get create replace rollback delete generate-csr requests tasks watch ping check action --version --json --timeout -h --help' ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    if [ $files = yes ] && [[ $current != -* ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames 2>/dev/null
    fi
}
complete -F _certificatectl certificatectl
